#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// The text with everything escaped that a terminal would not show as it stands: control
/// characters, bytes that are not UTF-8, and characters that are invisible or turn the reading
/// direction. In the notation of bash's $'...': \\ \t \n \r \xHH \uHHHH \UHHHHHHHH.
std::string escaped(std::string_view text);

/// How many columns a terminal needs for an escaped text: none for a combining mark, two for a
/// wide character.
std::size_t displayWidth(std::string_view text);

/// An escaped text cut into lines of at most `width` columns (at least 1), behind a space, ";", ","
/// or "/" where there is one. Never empty: an empty text is one empty line. A blank at a cut is
/// dropped; a single character wider than `width` is a line of its own.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

/// A word as one would type it in a shell: as it stands, or in quotes.
std::string shellWord(std::string_view word);

/// Parts joined by a separator.
std::string joined(const std::vector<std::string>& parts, std::string_view separator);

} // namespace sysconfctl
