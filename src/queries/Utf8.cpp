// SPDX-License-Identifier: Apache-2.0
#include "queries/Utf8.h"

#include <array>

namespace Quarncommon::queries {

namespace {

std::size_t sequenceLength(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xc2 && first <= 0xdf) {
        return 2;
    }
    if (first >= 0xe0 && first <= 0xef) {
        return 3;
    }
    return first >= 0xf0 && first <= 0xf4 ? 4 : 0;
}

/// False for overlong forms, surrogates and codes beyond Unicode.
bool isCharacter(char32_t code, std::size_t length) {
    constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    return code >= kSmallest[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
}

} // namespace

Character frontCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = sequenceLength(first);
    if (length == 0 || length > text.size()) {
        return {};
    }
    char32_t code = length == 1 ? first : first & (0xffU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xc0U) != 0x80) {
            return {};
        }
        code = (code << 6U) | (next & 0x3fU);
    }
    return isCharacter(code, length) ? Character{code, length, true} : Character{};
}

} // namespace Quarncommon::queries
