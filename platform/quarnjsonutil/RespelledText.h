// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

/// Returns a copy of the text that RapidJSON reads as the grammar requires. It respells two things:
///
///   - A number with an exponent of three digits or more than 300 characters, which RapidJSON may
///     reject as too big (even `0e400`), is shortened; one beyond the range of double becomes
///     `10e308`, which RapidJSON accepts.
///   - The escape of a leading surrogate without its other half is written as its three bytes.
///
/// A malformed text remains malformed.
std::string respelled(std::string_view text);
