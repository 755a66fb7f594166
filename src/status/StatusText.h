// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace Quarncommon::status {

/// Stores a text in a fixed buffer. One that is too long ends with "...".
template <std::size_t size>
void store(std::string_view text, char (&buffer)[size]) noexcept {
    constexpr std::string_view kCut = "...";
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    if (length != text.size()) {
        std::memcpy(buffer + length - kCut.size(), kCut.data(), kCut.size());
    }
}

} // namespace Quarncommon::status
