// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace Quarncommon::queries {

/// An invalid byte has `length` 1 and `valid` false.
struct Character {
    char32_t code = 0;
    std::size_t length = 1;
    bool valid = false;
};

/// The text must not be empty.
Character frontCharacter(std::string_view text);

} // namespace Quarncommon::queries
