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

/// Whether the text is valid UTF-8 without noncharacters such as U+FFFE: what systemd accepts.
bool isUtf8(std::string_view text);

/// Measures terminal columns: 0 for a combining mark, 2 for a wide character.
std::size_t displayWidth(std::string_view text);

/// Lines of at most `width` columns (at least 1), broken after a space, ";", "," or "/" if
/// possible. A blank at the end of a line is dropped; a single wider character has its own line.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

/// Wraps only after blanks and the characters of `also`: no address, id or path is cut.
std::vector<std::string> wrappedWords(std::string_view text, std::size_t width,
                                      std::string_view also = {});

/// Verbatim, or quoted if necessary.
std::string shellWord(std::string_view word);

/// "1 entry", "2 entries".
std::string counted(std::size_t number, const char* one, const char* many);

std::string joined(const std::vector<std::string>& parts, std::string_view separator);

} // namespace sysconfctl
