// SPDX-License-Identifier: Apache-2.0
#include "queries/Library.h"

#include <algorithm>
#include <charconv>
#include <list>
#include <map>
#include <set>

namespace Quarncommon::queries::library {
namespace {

constexpr std::string_view kSouthbound = "southbound";

bool isSouthboundKey(std::string_view key) {
    return key.starts_with(kSouthbound) &&
           key.find_first_not_of("0123456789", kSouthbound.size()) == std::string_view::npos;
}

/// Southbound keys by number ("southbound2" before "southbound10"), all others by bytes.
bool inReadingOrder(const Map::value_type& left, const Map::value_type& right) {
    const bool bothNumbered = isSouthboundKey(left.first) && isSouthboundKey(right.first);
    if (bothNumbered && left.first.size() != right.first.size()) {
        return left.first.size() < right.first.size();
    }
    return left.first < right.first;
}

} // namespace

Session::~Session() {
    try {
        Quarncommon::SysConfReader::Destory();
    } catch (...) {
        // Destory() creates missing instances first, and an event library may throw then.
        return;
    }
}

unsigned int parseIndex(const std::string& text) {
    unsigned int index = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, index);
    if (text.empty() || error != std::errc() || stop != end) {
        throw BadIndex(text);
    }
    return index;
}

Answer databasePort(const Arguments& arguments) {
    const unsigned int index = parseIndex(arguments[1]);
    return numberAnswer(reader().getDBAccessPort(arguments[0], index));
}

Answer database(const Arguments& arguments) {
    Json::Value info;
    if (reader().getDBInfo(arguments[0], info) != 0) {
        return {NoAnswer{}};
    }
    return {std::move(info)};
}

Answer allDatabases(const Arguments& /*none*/) {
    std::map<std::string, Json::Value> all;
    reader().getAllDBInfo(all);
    Json::Value object(Json::objectValue);
    for (const auto& [name, info] : all) {
        object[name] = info;
    }
    return {std::move(object)};
}

Answer sourceNodeId(const Arguments& /*none*/) {
    std::string id;
    reader().getSourceNodeId(id);
    return textAnswer(std::move(id));
}

Answer localIpByUsage(const Arguments& arguments) {
    return textAnswer(reader().getLocalIPByUsage(arguments[0]));
}

Answer localNodeIps(const Arguments& arguments) {
    std::map<int, std::string> numbered;
    std::string service;
    std::string service2;
    reader().getLocalNodeIPs(arguments[0], numbered, service, service2);
    return numberedAnswer(numbered, service, service2);
}

Answer numberedAnswer(const std::map<int, std::string>& numbered, const std::string& service,
                      const std::string& service2) {
    Map map;
    for (const auto& [number, address] : numbered) {
        map.emplace_back(std::to_string(number), address);
    }
    if (!service.empty()) {
        map.emplace_back("service", service);
    }
    if (!service2.empty()) {
        map.emplace_back("service2", service2);
    }
    return {std::move(map)};
}

Answer localNodeIpsByTag(const Arguments& arguments) {
    std::map<std::string, std::string> tags;
    for (const std::string& tag : arguments) {
        tags[tag];
    }
    reader().getLocalNodeIPs(tags);
    return taggedAnswer(tags, arguments);
}

Answer taggedAnswer(const std::map<std::string, std::string>& tags, const Arguments& arguments) {
    Map map;
    for (const auto& [tag, address] : tags) {
        const bool asked = std::find(arguments.begin(), arguments.end(), tag) != arguments.end();
        if (asked || !address.empty() || !isSouthboundKey(tag)) {
            map.emplace_back(tag, address);
        }
    }
    std::sort(map.begin(), map.end(), inReadingOrder);
    return {std::move(map)};
}

Answer ipAddresses(const Arguments& arguments) {
    std::list<std::string> addresses;
    if (reader().getIPAddresses(arguments[0], arguments[1], addresses) != 0) {
        return {NoAnswer{}};
    }
    return {List(addresses.begin(), addresses.end())};
}

Answer allFloatIp(const Arguments& arguments) {
    std::map<std::string, std::set<std::string>> nodes;
    if (reader().getAllFloatIP({arguments.begin(), arguments.end()}, nodes) != 0) {
        return {NoAnswer{}};
    }
    return groupedAnswer(nodes);
}

Answer groupedAnswer(const std::map<std::string, std::set<std::string>>& nodes) {
    Groups groups;
    for (const auto& [id, addresses] : nodes) {
        groups.emplace_back(id, List(addresses.begin(), addresses.end()));
    }
    return {std::move(groups)};
}

std::vector<DatabaseEntries> databaseEntries() {
    std::map<std::string, Json::Value> all;
    reader().getAllDBInfo(all);
    return entriesOf(all);
}

std::vector<DatabaseEntries> entriesOf(const std::map<std::string, Json::Value>& databases) {
    std::vector<DatabaseEntries> entries;
    for (const auto& [name, info] : databases) {
        const std::size_t size = info.isArray() ? info.size() : 0;
        entries.push_back({name, std::max<std::size_t>(size, 1)});
    }
    return entries;
}

} // namespace Quarncommon::queries::library
