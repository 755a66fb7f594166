// SPDX-License-Identifier: Apache-2.0
#include "render/Color.h"

#include "render/Output.h"

#include <algorithm>
#include <cstdlib>

namespace sysconfctl {
namespace {

const char* sequenceOf(Paint paint) {
    switch (paint) {
    case Paint::Red:
        return "\033[1;31m";
    case Paint::Magenta:
        return "\033[1;35m";
    case Paint::Green:
        return "\033[1;32m";
    case Paint::Cyan:
        return "\033[36m";
    case Paint::Bold:
        break;
    }
    return "\033[1m";
}

} // namespace

bool colorWanted(ColorChoice choice) {
    if (choice != ColorChoice::Auto) {
        return choice == ColorChoice::Always;
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment no longer changes.
    const char* const refused = std::getenv("NO_COLOR");
    return outputIsTerminal() && (refused == nullptr || *refused == '\0');
}

std::string painted(const std::string& text, Paint paint, bool color) {
    return color && !text.empty() ? sequenceOf(paint) + text + "\033[0m" : text;
}

std::string paintedLines(const std::string& lines, Paint paint) {
    std::string text;
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', begin), lines.size());
        text += painted(lines.substr(begin, end - begin), paint, true) + '\n';
        begin = end + 1;
    }
    return text;
}

} // namespace sysconfctl
