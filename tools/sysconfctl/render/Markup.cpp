// SPDX-License-Identifier: Apache-2.0
#include "render/Markup.h"

#include "render/Text.h"

namespace sysconfctl {

std::string escapedMarkup(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

std::string markupText(std::string_view text) {
    return escapedMarkup(escaped(text));
}

} // namespace sysconfctl
