// SPDX-License-Identifier: Apache-2.0
#include "Judge.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>

namespace judge {

namespace {

using Tree = nlohmann::json;

Json::Value converted(const Tree& tree) {
    switch (tree.type()) {
    case Tree::value_t::boolean:
        return tree.get<bool>();
    case Tree::value_t::number_integer:
        return Json::Value::Int64(tree.get<std::int64_t>());
    case Tree::value_t::number_unsigned: {
        const auto number = tree.get<std::uint64_t>();
        return number <= std::uint64_t(Json::Value::maxInt64)
                   ? Json::Value(static_cast<Json::Value::Int64>(number))
                   : Json::Value(Json::Value::UInt64(number));
    }
    case Tree::value_t::number_float:
        return tree.get<double>();
    case Tree::value_t::string:
        return tree.get_ref<const std::string&>();
    case Tree::value_t::array: {
        Json::Value array(Json::arrayValue);
        for (const Tree& element : tree) {
            array.append(converted(element));
        }
        return array;
    }
    case Tree::value_t::object: {
        Json::Value object(Json::objectValue);
        for (const auto& [name, member] : tree.items()) {
            object[name] = converted(member);
        }
        return object;
    }
    default:
        return {};
    }
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// 0 if there is no escape \uXXXX at the start of the text.
unsigned int escapedUnit(std::string_view text) {
    if (text.size() < 6 || text[0] != '\\' || text[1] != 'u') {
        return 0;
    }
    unsigned int unit = 0;
    for (const char c : text.substr(2, 4)) {
        const char lower = static_cast<char>(c | 0x20);
        if (!isDigit(c) && (lower < 'a' || lower > 'f')) {
            return 0;
        }
        unit = 16 * unit + static_cast<unsigned int>(isDigit(c) ? c - '0' : lower - 'a' + 10);
    }
    return unit;
}

std::string_view unquoted(std::string_view text) {
    if (const unsigned int unit = escapedUnit(text); unit != 0) {
        const unsigned int next = escapedUnit(text.substr(6));
        const bool pair = unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000;
        return text.substr(0, pair ? 12 : 6);
    }
    return text.substr(0, text[0] == '\\' ? 2 : 1);
}

std::string supportedInStrings(std::string_view piece) {
    const auto byte = static_cast<unsigned char>(piece[0]);
    if (byte >= 0x80) {
        return {static_cast<char>(0xC4 + ((byte >> 6U) & 1U)),
                static_cast<char>(0x80U | (byte & 0x3FU))};
    }
    const unsigned int unit = piece.size() == 6 ? escapedUnit(piece) : 0;
    if (unit >= 0xD800 && unit < 0xE000) {
        // Replaces a surrogate by a character from the block after the surrogates.
        return (unit < 0xDC00 ? "\\uE" : "\\uF") + std::string(piece.substr(3));
    }
    return std::string(piece);
}

} // namespace

std::optional<Verdict> read(std::string_view text) {
    Verdict verdict;
    const auto measure = [&](int depth, Tree::parse_event_t event, const Tree&) {
        if (event == Tree::parse_event_t::object_start ||
            event == Tree::parse_event_t::array_start) {
            verdict.nesting = std::max(verdict.nesting, static_cast<std::size_t>(depth) + 1);
        }
        return true;
    };
    const Tree tree = Tree::parse(text.begin(), text.end(), measure, false);
    if (tree.is_discarded()) {
        return std::nullopt;
    }
    constexpr std::size_t kConvertible = 1100; // above the limit of JsonReader
    if (verdict.nesting <= kConvertible) {
        verdict.value = converted(tree);
    }
    return verdict;
}

std::string supported(std::string_view text) {
    std::string copy;
    bool quoted = false;
    std::size_t digits = 0;
    while (!text.empty()) {
        const std::string_view piece = quoted ? unquoted(text) : text.substr(0, 1);
        digits = !quoted && isDigit(piece[0]) ? digits + 1 : 0;
        if (piece == "\"") {
            quoted = !quoted;
            copy += piece;
        } else if (quoted) {
            copy += supportedInStrings(piece);
        } else if (digits <= 2) {
            copy += piece;
        }
        text.remove_prefix(piece.size());
    }
    return copy;
}

} // namespace judge
