// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

/// With and without values of the wrong type, with odd tags and odd ids. The same seed gives the
/// same lists on every machine.
class RandomLists {
public:
    explicit RandomLists(std::uint64_t seed) : m_random(seed) {}

    Json::Value list();
    Json::Value addresses();

    std::string nodeId();
    std::string askedNodeId() { return oneIn(3) ? nodeId() : "n1"; }
    std::string tag();
    std::string askedTag();
    std::set<std::string> tags();
    std::string address();
    std::string callersKey();
    int callersNumber();
    std::string prefix();
    std::string fieldName();
    std::string valuePrefix();
    std::string tenancy();

    bool oneIn(unsigned int n) { return below(n) == 0; }
    std::size_t below(std::size_t n) { return static_cast<std::size_t>(m_random() % n); }

private:
    template <typename T>
    const T& anyOf(const std::vector<T>& choices) {
        return choices[below(choices.size())];
    }
    Json::Value perhapsMistyped(Json::Value value);
    Json::Value wrongValue();
    Json::Value usage();
    Json::Value entry();
    Json::Value node();
    std::string someCapitals(std::string text);

    std::mt19937_64 m_random;
    /// 0 for none.
    unsigned int m_mistypedOneIn = 0;
};

std::string textOf(const Json::Value& value);
