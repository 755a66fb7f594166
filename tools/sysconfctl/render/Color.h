#pragma once

#include <string>

namespace sysconfctl {

enum class ColorChoice { Auto, Always, Never };
enum class Paint { Bold, Red, Magenta, Green, Cyan };

/// Whether standard output is to be coloured: by choice, else on a terminal unless `NO_COLOR` has
/// any text.
bool colorWanted(ColorChoice choice);

/// An escaped text in a colour, or as it is.
std::string painted(const std::string& text, Paint paint, bool color);

/// Whole lines, each one painted for itself.
std::string paintedLines(const std::string& lines, Paint paint);

} // namespace sysconfctl
