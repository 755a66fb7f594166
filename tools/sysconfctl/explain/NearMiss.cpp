// SPDX-License-Identifier: Apache-2.0
#include "explain/NearMiss.h"

#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"

#include <rules/NodeIPs.h>
#include <rules/NodeList.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

constexpr std::array kStems = {rules::kServiceTag, rules::kMaintenanceTag,
                               rules::kInternalServiceTag, rules::kSouthboundFamily,
                               rules::kNorthboundFamily};

/// The members that any rule reads.
constexpr std::array<std::string_view, 22> kMembers = {
    "nodeId", "IR",        "local",       "wss",         "CORBA",      "CORBA_SSL",
    "ip",     "port",      "nodeList",    "IPAddresses", "extAttr",    "hostType",
    "HOSTID", "processes", "databases",   "type",        "accessHost", "accessPort",
    "user",   "passwd",    "serviceName", "serverName"};

bool isMember(std::string_view name) {
    return std::find(kMembers.begin(), kMembers.end(), name) != kMembers.end();
}

bool sameButForCase(const std::string& left, const std::string& right) {
    return rules::lowerCased(left) == rules::lowerCased(right);
}

bool near(const std::string& name, const std::string& meant) {
    // Short names are near only if the case differs: "ip" is one edit away from "id".
    constexpr std::size_t kShort = 4;
    return sameButForCase(name, meant) ||
           (meant.size() >= kShort && !suggestion(name, {meant}).empty());
}

std::optional<std::string> nearMember(const Json::Value& object, const std::string& meant) {
    if (!object.isObject()) {
        return std::nullopt;
    }
    for (const std::string& name : object.getMemberNames()) {
        const bool read = isMember(name) && !sameButForCase(name, meant);
        if (name != meant && !read && near(name, meant)) {
            return name;
        }
    }
    return std::nullopt;
}

NearMiss missAt(located::Path path, const std::string& meant, bool misplaced) {
    std::string name = path.back();
    return {std::move(name), meant, std::move(path), misplaced};
}

std::optional<NearMiss> misplacedMember(const Json::Value& root, located::Path parent,
                                        const std::string& meant) {
    const Json::Value& object = valueAt(root, parent);
    if (object.isObject()) {
        for (const std::string& name : object.getMemberNames()) {
            if (object[name].isObject() && object[name].isMember(meant)) {
                parent.insert(parent.end(), {name, meant});
                return missAt(std::move(parent), meant, true);
            }
        }
    }
    return std::nullopt;
}

bool isKnown(std::string_view tag) {
    return std::find(kStems.begin(), kStems.end(), tagFamily(tag)) != kStems.end();
}

std::string meantKnownTag(const std::string& tag) {
    const std::string_view stem = tagFamily(tag);
    const std::string number = tag.substr(stem.size());
    if (isKnown(tag)) {
        const bool first = number == "1" && stem == rules::kSouthboundFamily;
        return first ? std::string(stem) : std::string();
    }
    constexpr std::size_t kShort = 5;
    const std::string meant =
        stem.size() < kShort ? "" : suggestion(stem, {kStems.begin(), kStems.end()});
    return meant.empty() ? meant : meant + number;
}

} // namespace

std::string_view tagFamily(std::string_view tag) {
    const std::size_t end = tag.find_last_not_of("0123456789");
    return tag.substr(0, end == std::string_view::npos ? 0 : end + 1);
}

std::string meantTag(const std::string& tag, const std::vector<AskedTag>& asked) {
    std::string known = meantKnownTag(tag);
    for (const AskedTag& one : asked) {
        if (one.family ? !known.empty() && known.starts_with(one.tag) : known == one.tag) {
            return known;
        }
        // Different numbers are different tags of one family, not misspellings.
        if (!one.family && !isKnown(one.tag) && !isKnown(tag) &&
            tagFamily(tag) != tagFamily(one.tag) && near(tag, one.tag)) {
            return one.tag;
        }
    }
    return {};
}

std::string nearestName(const std::string& name, const std::vector<std::string>& candidates) {
    for (const std::string& candidate : candidates) {
        if (candidate != name && sameButForCase(candidate, name)) {
            return candidate;
        }
    }
    return suggestion(name, {candidates.begin(), candidates.end()});
}

std::optional<NearMiss> misspeltMember(const Json::Value& root, const located::Path& path) {
    located::Path parent;
    for (const std::string& step : path) {
        const Json::Value& object = valueAt(root, parent);
        if (object.isArray() || (object.isObject() && object.isMember(step))) {
            parent.push_back(step);
            continue;
        }
        if (auto name = nearMember(object, step)) {
            parent.push_back(*name);
            return missAt(std::move(parent), step, false);
        }
        break;
    }
    // The member may be in one of the enclosing objects.
    for (std::size_t up = 2; up <= 3 && path.size() >= up; ++up) {
        located::Path around(path.begin(), path.end() - static_cast<std::ptrdiff_t>(up));
        const Json::Value& object = valueAt(root, around);
        if (object.isObject() && object.isMember(path.back())) {
            around.push_back(path.back());
            return missAt(std::move(around), path.back(), true);
        }
    }
    return misplacedMember(root, {path.begin(), path.end() - 1}, path.back());
}

} // namespace sysconfctl
