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
    return value.empty() || (value.isString() && value.asString().empty());
}

bool maskWhole(Json::Value& value) {
    if (isEmpty(value)) {
        return false;
    }
    value = std::string(kMask);
    return true;
}

bool maskEntry(Json::Value& entry);

bool maskMember(const std::string& name, Json::Value& member) {
    if (name == kNestedFields && member.isObject()) {
        return maskEntry(member);
    }
    const bool scalar = !member.isArray() && !member.isObject();
    const bool shown = isShownField(name) && scalar && !holdsLoginData(member.asString());
    return !shown && maskWhole(member);
}

/// Any other value in the place of an entry, too.
bool maskEntry(Json::Value& entry) {
    bool masked = false;
    if (entry.isArray()) {
        for (Json::Value& element : entry) {
            masked |= maskEntry(element);
        }
    } else if (entry.isObject()) {
        for (const std::string& name : entry.getMemberNames()) {
            masked |= maskMember(name, entry[name]);
        }
    } else {
        masked = maskWhole(entry);
    }
    return masked;
}

bool maskDatabases(Json::Value& databases) {
    bool masked = false;
    for (const std::string& name : databases.getMemberNames()) {
        masked |= maskEntry(databases[name]);
    }
    return masked;
}

bool maskedWhole(const Answer& answer, Secret secret) {
    const auto* const text = std::get_if<std::string>(&answer.value);
    return (secret == Secret::Whole && answer.isAnswered()) ||
           (secret == Secret::LoginData && text != nullptr && holdsLoginData(*text));
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

bool isShownField(std::string_view name) {
    constexpr std::array<std::string_view, 7> kShown = {
        "accessHost", "accessPort", "lib", "serverName", "serviceName", "type", "user"};
    return std::find(kShown.begin(), kShown.end(), name) != kShown.end();
}

bool holdsLoginData(std::string_view text) {
    const std::size_t host = text.rfind('@');
    const bool beforeHost = host != std::string_view::npos && text.find_first_of(":/") < host;
    return beforeHost ||
           (text.find('=') != std::string_view::npos && indicatesPassword(std::string(text)));
}

void mask(Answer& answer, Secret secret) {
    auto* const json = std::get_if<Json::Value>(&answer.value);
    if (maskedWhole(answer, secret)) {
        answer.value = std::string(kMask);
        answer.masked = true;
    } else if (json != nullptr && secret == Secret::Database) {
        answer.masked = maskEntry(*json);
    } else if (json != nullptr && secret == Secret::Databases) {
        answer.masked = maskDatabases(*json);
    }
}

} // namespace sysconfctl
