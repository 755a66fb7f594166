// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Reads JSON texts with a library that the product does not use.
namespace judge {

struct Verdict {
    Json::Value value;
    std::size_t nesting = 0;
};

/// Returns the value and nesting of the text; nothing if it is not a JSON text in UTF-8, or
/// contains something that the judge does not support: a surrogate without its other half, or a
/// number beyond the range of a double. The judge accepts a byte-order mark, and anything after a
/// NUL byte.
std::optional<Verdict> read(std::string_view text);

/// Returns a text that is well-formed if and only if the given one is, without what the judge does
/// not support. In strings, bytes from 0x80 become characters of UTF-8, and single surrogates other
/// escapes; elsewhere every run of digits is cut to two.
std::string supported(std::string_view text);

} // namespace judge
