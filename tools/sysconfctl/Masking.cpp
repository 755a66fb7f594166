#include "Masking.h"

#include <algorithm>
#include <array>
#include <string>

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
            if (!speaksOfPassword(name)) {
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

bool speaksOfPassword(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    constexpr std::array<std::string_view, 4> kWords = {"passw", "pwd", "secret", "credential"};
    return std::any_of(kWords.begin(), kWords.end(),
                       [&](std::string_view word) { return name.find(word) != std::string::npos; });
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
