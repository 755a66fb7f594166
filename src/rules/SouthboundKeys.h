// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeIPs.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace Quarncommon::rules {

/// The name of a southbound slot: the family's name, followed by the slot's number from 2 on.
class SouthboundKey {
public:
    constexpr SouthboundKey() = default;
    constexpr explicit SouthboundKey(std::string_view family) {
        for (const char c : family) {
            append(c);
        }
    }

    constexpr void append(char c) { m_text.at(m_length++) = c; }

    // NOLINTNEXTLINE(google-explicit-constructor): it is a text
    constexpr operator std::string_view() const { return {m_text.data(), m_length}; }

private:
    std::array<char, sizeof("southbound1024")> m_text{};
    std::size_t m_length = 0;
};

/// All names in ascending byte order, as in a map: the family's name alone, then with 10, 100,
/// 1000, 1001 ... 9, 90 ... 999.
struct SouthboundKeys {
    std::array<SouthboundKey, kSouthboundSlots> keys{};
    std::size_t size = 0;

    constexpr explicit SouthboundKeys(std::string_view family) {
        const SouthboundKey first(family);
        keys.at(size++) = first;
        addWithDigitsBehind(first, 0);
    }

private:
    constexpr void addWithDigitsBehind(const SouthboundKey& start, int number) {
        for (int digit = 0; digit <= 9; ++digit) {
            const int slot = 10 * number + digit;
            if (slot == 0 || slot > kSouthboundSlots) {
                continue;
            }
            SouthboundKey key = start;
            key.append(static_cast<char>('0' + digit));
            if (slot != 1) {
                keys.at(size++) = key;
            }
            addWithDigitsBehind(key, slot);
        }
    }
};

} // namespace Quarncommon::rules
