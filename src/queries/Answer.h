// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Quarncommon::queries {

struct NoAnswer {};

using List = std::vector<std::string>;
/// Keys in reading order, each with one text.
using Map = std::vector<std::pair<std::string, std::string>>;
/// Keys in reading order, each with any number of texts.
using Groups = std::vector<std::pair<std::string, List>>;

/// An empty list or map is an answer.
struct Answer {
    std::variant<NoAnswer, std::string, int, List, Map, Groups, Json::Value> value;
    /// Never set by a query.
    bool masked = false;

    bool isAnswered() const { return !std::holds_alternative<NoAnswer>(value); }
};

inline Answer textAnswer(std::string text) {
    return text.empty() ? Answer{NoAnswer{}} : Answer{std::move(text)};
}

inline Answer numberAnswer(int number) {
    return number == -1 ? Answer{NoAnswer{}} : Answer{number};
}

/// The value as JSON: null without an answer, an object for keys. Ignores `masked`.
Json::Value jsonOf(const Answer& answer);

/// Combines lambdas into one visitor of an answer's value.
template <class... Visitors>
struct Overloaded : Visitors... {
    using Visitors::operator()...;
};
template <class... Visitors>
Overloaded(Visitors...) -> Overloaded<Visitors...>;

} // namespace Quarncommon::queries
