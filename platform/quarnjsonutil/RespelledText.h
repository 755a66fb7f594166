#pragma once

#include <string>
#include <string_view>

/// A copy of the text in which two things that RapidJSON refuses, though they are grammatical, are
/// spelled so that it takes them and the tree comes out the same:
///
///   - A number with an exponent or more than 300 digits, which RapidJSON may think too big (even
///     `0e400`), is written short; one beyond the range of double as `10e308`, which it passes on.
///   - The escape of a leading surrogate without its other half is written as its three bytes.
///
/// A text that is not grammatical is as wrong after as before.
std::string respelled(std::string_view text);
