// SPDX-License-Identifier: Apache-2.0
#include "check/TextFaults.h"

#include <fmt/format.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <cstdint>
#include <string_view>
#include <utility>

namespace sysconfctl {
namespace {

bool parses(int family, const std::string& text, std::array<unsigned char, 16>& bytes) {
    return ::inet_pton(family, text.c_str(), bytes.data()) == 1;
}

/// Characters that are not visible: format characters, unusual spaces, the byte order mark.
constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 9> kInvisible = {{{0x80, 0xA0},
                                                                                {0xAD, 0xAD},
                                                                                {0x180E, 0x180E},
                                                                                {0x2000, 0x200F},
                                                                                {0x2028, 0x202F},
                                                                                {0x205F, 0x206F},
                                                                                {0x3000, 0x3000},
                                                                                {0xFEFF, 0xFEFF},
                                                                                {0xFFF9, 0xFFFB}}};

bool isInvisible(std::uint32_t code) {
    return code < 0x20 || code == 0x7F ||
           std::any_of(kInvisible.begin(), kInvisible.end(), [&](const auto& range) {
               return code >= range.first && code <= range.second;
           });
}

std::uint32_t takeCharacter(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    std::uint32_t code = first < 0x80   ? first
                         : first < 0xE0 ? first & 0x1FU
                         : first < 0xF0 ? first & 0x0FU
                                        : first & 0x07U;
    while (!text.empty() && (static_cast<unsigned char>(text.front()) & 0xC0U) == 0x80U) {
        code = (code << 6U) | (static_cast<unsigned char>(text.front()) & 0x3FU);
        text.remove_prefix(1);
    }
    return code;
}

bool isLabel(std::string_view label) {
    return !label.empty() && label.size() <= 63 && label.front() != '-' && label.back() != '-' &&
           std::all_of(label.begin(), label.end(), [](unsigned char c) {
               return std::isalnum(c) != 0 || c == '-' || c == '_';
           });
}

} // namespace

bool isAddress(const std::string& text) {
    std::array<unsigned char, 16> bytes{};
    const std::size_t scope = text.find('%');
    if (scope != std::string::npos) {
        return scope + 1 < text.size() && parses(AF_INET6, text.substr(0, scope), bytes);
    }
    return parses(AF_INET, text, bytes) || parses(AF_INET6, text, bytes);
}

bool isUnspecified(const std::string& text) {
    std::array<unsigned char, 16> bytes{};
    return (parses(AF_INET, text, bytes) || parses(AF_INET6, text, bytes)) &&
           std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

bool isHost(const std::string& text) {
    if (isAddress(text)) {
        return true;
    }
    std::string_view rest = text;
    if (rest.ends_with('.')) {
        rest.remove_suffix(1);
    }
    std::size_t labels = 0;
    std::size_t numeric = 0;
    while (true) {
        const std::size_t dot = rest.find('.');
        const std::string_view label = rest.substr(0, dot);
        if (!isLabel(label)) {
            return false;
        }
        ++labels;
        numeric += std::all_of(label.begin(), label.end(),
                               [](unsigned char c) { return std::isdigit(c) != 0; })
                       ? 1
                       : 0;
        if (dot == std::string_view::npos) {
            // The last label of a host name is never a number: "192.0.2.x" is a mistyped address.
            const bool lastNumeric = std::isdigit(static_cast<unsigned char>(label.back())) != 0 &&
                                     std::all_of(label.begin(), label.end(), [](unsigned char c) {
                                         return std::isdigit(c) != 0;
                                     });
            return !lastNumeric && !(labels == 4 && numeric >= 2);
        }
        rest.remove_prefix(dot + 1);
    }
}

std::string hiddenFault(const std::string& text) {
    if (text.empty()) {
        return {};
    }
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    if (isBlank(text.front())) {
        return "a leading blank";
    }
    if (isBlank(text.back())) {
        return "a trailing blank";
    }
    for (std::string_view rest = text; !rest.empty();) {
        const std::uint32_t code = takeCharacter(rest);
        if (isInvisible(code)) {
            return fmt::format("an invisible character (U+{:04X})", code);
        }
    }
    return {};
}

} // namespace sysconfctl
