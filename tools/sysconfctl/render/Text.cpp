// SPDX-License-Identifier: Apache-2.0
#include "render/Text.h"

#include <queries/Utf8.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace sysconfctl {
namespace {

using Quarncommon::queries::Character;
using Quarncommon::queries::frontCharacter;

struct Range {
    char32_t first;
    char32_t last;
};

/// Invisible characters and those that change how others are shown: format controls, separators.
constexpr std::array kUnshowable = {
    Range{0x00, 0x1f},     Range{0x7f, 0x9f},     Range{0xad, 0xad},       Range{0x61c, 0x61c},
    Range{0x180e, 0x180e}, Range{0x200b, 0x200f}, Range{0x2028, 0x202e},   Range{0x2060, 0x206f},
    Range{0xfeff, 0xfeff}, Range{0xfff9, 0xfffb}, Range{0xe0000, 0xe0fff},
};

/// Combining marks of the scripts in common use.
constexpr std::array kNoColumn = {
    Range{0x300, 0x36f},   Range{0x483, 0x489},   Range{0x591, 0x5bd},   Range{0x610, 0x61a},
    Range{0x64b, 0x65f},   Range{0x93a, 0x93c},   Range{0x941, 0x948},   Range{0xe31, 0xe31},
    Range{0xe34, 0xe3a},   Range{0xe47, 0xe4e},   Range{0x1ab0, 0x1aff}, Range{0x1dc0, 0x1dff},
    Range{0x20d0, 0x20ff}, Range{0x302a, 0x302d}, Range{0x3099, 0x309a}, Range{0xfe00, 0xfe0f},
    Range{0xfe20, 0xfe2f},
};

/// East Asian wide and full-width characters, emoji.
constexpr std::array kTwoColumns = {
    Range{0x1100, 0x115f},   Range{0x231a, 0x231b},   Range{0x2e80, 0x303e},
    Range{0x3041, 0x33ff},   Range{0x3400, 0x4dbf},   Range{0x4e00, 0x9fff},
    Range{0xa000, 0xa4cf},   Range{0xa960, 0xa97f},   Range{0xac00, 0xd7a3},
    Range{0xf900, 0xfaff},   Range{0xfe30, 0xfe6f},   Range{0xff00, 0xff60},
    Range{0xffe0, 0xffe6},   Range{0x1f300, 0x1f64f}, Range{0x1f680, 0x1f6ff},
    Range{0x1f900, 0x1f9ff}, Range{0x20000, 0x3fffd},
};

template <std::size_t Size>
bool within(const std::array<Range, Size>& ranges, char32_t code) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [=](Range range) { return code >= range.first && code <= range.last; });
}

bool isNoncharacter(char32_t code) {
    return (code & 0xfffeU) == 0xfffe || (code >= 0xfdd0 && code <= 0xfdef);
}

std::string escapedCode(char32_t code) {
    switch (code) {
    case '\t':
        return "\\t";
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    default:
        break;
    }
    const auto number = static_cast<std::uint32_t>(code);
    if (number < 0x80) {
        return fmt::format("\\x{:02x}", number);
    }
    return number < 0x10000 ? fmt::format("\\u{:04x}", number) : fmt::format("\\U{:08x}", number);
}

std::size_t columns(const Character& character) {
    if (character.code < kNoColumn.front().first) {
        return 1;
    }
    if (within(kNoColumn, character.code)) {
        return 0;
    }
    return within(kTwoColumns, character.code) ? 2 : 1;
}

struct Breaks {
    std::string_view after;
    bool cut;
};

/// The length in bytes: up to the last place to break in `width` columns, else up to the last
/// character that fits, or up to the first place to break.
std::size_t firstLineLength(std::string_view text, std::size_t width, const Breaks& breaks) {
    std::size_t used = 0;
    std::size_t place = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        const Character character = frontCharacter(text.substr(position));
        used += columns(character);
        const char c = text[position];
        if (used > width && position > 0 && (breaks.cut || place > 0 || c == ' ')) {
            return place > 0 && c != ' ' ? place : position;
        }
        position += character.length;
        if (breaks.after.find(c) != std::string_view::npos) {
            place = position;
        }
    }
    return text.size();
}

std::vector<std::string> brokenLines(std::string_view text, std::size_t width,
                                     const Breaks& breaks) {
    std::vector<std::string> lines;
    do {
        const std::size_t length = firstLineLength(text, width, breaks);
        std::string_view line = text.substr(0, length);
        text.remove_prefix(length);
        if (!text.empty()) {
            line.remove_suffix(line.ends_with(' ') ? 1 : 0);
            text.remove_prefix(text.starts_with(' ') ? 1 : 0);
        }
        lines.emplace_back(line);
    } while (!text.empty());
    return lines;
}

bool isPlainWord(std::string_view word) {
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                        "0123456789_-./:@%+=,";
    return !word.empty() && word.find_first_not_of(kPlain) == std::string_view::npos;
}

} // namespace

std::string escaped(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = frontCharacter(text);
        if (!character.valid) {
            fmt::format_to(std::back_inserter(result), "\\x{:02x}",
                           static_cast<unsigned char>(text.front()));
        } else if (within(kUnshowable, character.code)) {
            result += escapedCode(character.code);
        } else if (character.code == '\\') {
            result += "\\\\";
        } else {
            result += text.substr(0, character.length);
        }
        text.remove_prefix(character.length);
    }
    return result;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const Character character = frontCharacter(text);
        if (!character.valid || isNoncharacter(character.code)) {
            return false;
        }
        text.remove_prefix(character.length);
    }
    return true;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const Character character = frontCharacter(text);
        width += columns(character);
        text.remove_prefix(character.length);
    }
    return width;
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
    return brokenLines(text, width, {" ;,/", true});
}

std::vector<std::string> wrappedWords(std::string_view text, std::size_t width,
                                      std::string_view also) {
    const std::string after = fmt::format(" {}", also);
    return brokenLines(text, width, {after, false});
}

std::string shellWord(std::string_view word) {
    if (isPlainWord(word)) {
        return std::string(word);
    }
    const std::string shown = escaped(word);
    if (shown == word && shown.find('\'') == std::string::npos) {
        return "'" + shown + "'";
    }
    std::string quoted = "$'";
    for (const char c : shown) {
        quoted += c == '\'' ? "\\'" : std::string(1, c);
    }
    return quoted + "'";
}

std::string counted(std::size_t number, const char* one, const char* many) {
    return fmt::format("{} {}", number, number == 1 ? one : many);
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
    std::string text;
    for (const std::string& part : parts) {
        text += (&part == parts.data() ? std::string_view() : separator);
        text += part;
    }
    return text;
}

} // namespace sysconfctl
