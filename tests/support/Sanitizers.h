// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Which sanitizer a test is built with, for what a sanitizer's own frames, files and memory do not
/// let be tried. g++ defines macros, clang++ answers questions.
#if defined(__SANITIZE_ADDRESS__)
#define ADDRESS_SANITIZED 1
#elif defined(__SANITIZE_THREAD__)
#define THREAD_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ADDRESS_SANITIZED 1
#elif __has_feature(thread_sanitizer)
#define THREAD_SANITIZED 1
#endif
#endif

#if defined(ADDRESS_SANITIZED) || defined(THREAD_SANITIZED)
#define SANITIZED 1
#endif

namespace support {

/// So many rounds of what repeats one thing with other data, or under a sanitizer, which makes each
/// several times as long, an eighth of them.
constexpr int rounds(int plain) {
#ifdef SANITIZED
    return plain / 8;
#else
    return plain;
#endif
}

} // namespace support
