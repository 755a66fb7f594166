// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sysconfctl {

enum class ColorChoice { Auto, Always, Never };
enum class Paint { Bold, Red, Magenta, Green, Cyan };

/// `Auto` uses colours on a terminal unless `NO_COLOR` is set and not empty.
bool colorWanted(ColorChoice choice);

std::string painted(const std::string& text, Paint paint, bool color);

std::string paintedLines(const std::string& lines, Paint paint);

} // namespace sysconfctl
