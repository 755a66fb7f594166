// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sysconfctl {

enum class ColorChoice { Auto, Always, Never };
enum class Paint { Bold, Red, Magenta, Green, Cyan };

/// Whether to colour standard output. `Auto` uses colours on a terminal unless `NO_COLOR` is set
/// and not empty.
bool colorWanted(ColorChoice choice);

/// The escaped text in a colour, or unchanged if `color` is false.
std::string painted(const std::string& text, Paint paint, bool color);

/// Colours each line separately.
std::string paintedLines(const std::string& lines, Paint paint);

} // namespace sysconfctl
