// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// A second opinion on JSON texts, from a library that the product has nothing to do with.
namespace judge {

struct Verdict {
    Json::Value value;
    /// The most arrays and objects that are open at once.
    std::size_t nesting = 0;
};

/// What the text says; nothing when it is not one JSON text of RFC 8259 in UTF-8, or says what the
/// judge cannot hold: a surrogate that stands alone, a number beyond the range of a double. Two
/// things are not asked of it, because it lets them pass: a byte-order mark, and what follows a NUL
/// byte.
std::optional<Verdict> read(std::string_view text);

/// A text that is grammatical exactly when the given one is, without what the judge cannot hold.
/// Within quotes, bytes from 0x80 on become characters of UTF-8 and escaped surrogates that stand
/// alone other escapes; elsewhere every run of digits is cut to its first two.
std::string holdable(std::string_view text);

} // namespace judge
