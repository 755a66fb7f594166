#pragma once

#include <concepts>
#include <ranges>
#include <string>
#include <utility>

namespace bench {

inline std::string text(const std::string& answer) {
    return '"' + answer + '"';
}

template <std::integral Number>
std::string text(Number answer) {
    return std::to_string(answer) + ' ';
}

template <typename First, typename Second>
std::string text(const std::pair<First, Second>& answer);

template <std::ranges::range Range>
std::string text(const Range& answer) {
    std::string all = "[";
    for (const auto& element : answer) {
        all += text(element);
    }
    return all + ']';
}

template <typename First, typename Second>
std::string text(const std::pair<First, Second>& answer) {
    return '<' + text(answer.first) + text(answer.second) + '>';
}

} // namespace bench
