// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Inputs that consist of several texts, with a line "%%" between them; without it, of one.
inline constexpr std::string_view kPartsSeparator = "\n%%\n";

inline std::vector<std::string> splitIntoParts(std::string_view text) {
    std::vector<std::string> parts;
    for (std::size_t end = 0; (end = text.find(kPartsSeparator)) != std::string_view::npos;) {
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(end + kPartsSeparator.size());
    }
    parts.emplace_back(text);
    return parts;
}

inline std::string joinedParts(const std::vector<std::string>& parts) {
    std::string text = parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i) {
        text += kPartsSeparator;
        text += parts[i];
    }
    return text;
}
