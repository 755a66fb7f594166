// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Escapes what a terminal would not show verbatim: control characters, invalid UTF-8, and
/// characters that are invisible or change the reading direction. The notation is that of bash's
/// $'...': \\ \t \n \r \xHH \uHHHH \UHHHHHHHH.
std::string escaped(std::string_view text);

/// The number of terminal columns of an escaped text: 0 for a combining mark, 2 for a wide
/// character.
std::size_t displayWidth(std::string_view text);

/// Wraps an escaped text into lines of at most `width` columns (at least 1), after a space, ";",
/// "," or "/" if possible. Returns at least one line. A blank at the end of a line is dropped; a
/// single character wider than `width` has its own line.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

/// Wraps an escaped text after blanks only, so that no address, id or path is cut: a longer word
/// exceeds the width.
/// @param also More characters after which a line may be broken.
std::vector<std::string> wrappedWords(std::string_view text, std::size_t width,
                                      std::string_view also = {});

/// The word in shell syntax: verbatim, or quoted if necessary.
std::string shellWord(std::string_view word);

/// "1 entry", "2 entries".
std::string counted(std::size_t number, const char* one, const char* many);

/// Parts joined by a separator.
std::string joined(const std::vector<std::string>& parts, std::string_view separator);

} // namespace sysconfctl
