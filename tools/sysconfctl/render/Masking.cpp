// SPDX-License-Identifier: Apache-2.0
#include "render/Masking.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

namespace sysconfctl {
namespace {

bool isEmpty(const Json::Value& value) {
    return value.isNull() || (value.isString() && value.asString().empty());
}

bool maskMembers(Json::Value& value) {
    bool masked = false;
    if (value.isArray()) {
        for (Json::Value& element : value) {
            masked |= maskMembers(element);
        }
    } else if (value.isObject()) {
        for (const std::string& name : value.getMemberNames()) {
            Json::Value& member = value[name];
            if (!indicatesPassword(name)) {
                masked |= maskMembers(member);
            } else if (!isEmpty(member)) {
                member = std::string(kMask);
                masked = true;
            }
        }
    }
    return masked;
}

} // namespace

std::size_t endOfPasswordWord(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    constexpr std::array<std::string_view, 4> kWords = {"passw", "pwd", "secret", "credential"};
    std::size_t end = std::string::npos;
    for (const std::string_view word : kWords) {
        if (const std::size_t at = text.find(word); at != std::string::npos) {
            end = std::min(end, at + word.size());
        }
    }
    return end;
}

bool indicatesPassword(std::string name) {
    return endOfPasswordWord(std::move(name)) != std::string::npos;
}

void mask(Answer& answer, Secret secret) {
    if (secret == Secret::Whole && answer.isAnswered()) {
        answer.value = std::string(kMask);
        answer.masked = true;
    } else if (auto* json = std::get_if<Json::Value>(&answer.value);
               json != nullptr && secret == Secret::Members) {
        answer.masked = maskMembers(*json);
    }
}

} // namespace sysconfctl
