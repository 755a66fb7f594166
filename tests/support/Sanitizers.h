// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The sanitizer of this build. A sanitizer needs stack, files and memory itself, which some tests
/// cannot allow for. g++ defines macros for it; clang++ has __has_feature.
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

/// How often to repeat a test: less often under a sanitizer, which is slow.
constexpr int rounds(int plain) {
#ifdef SANITIZED
    return plain / 8;
#else
    return plain;
#endif
}

} // namespace support
