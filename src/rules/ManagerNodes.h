// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <list>
#include <map>
#include <set>
#include <string>
#include <utility>

/// Queries over all nodes, in ascending order of ids. What was collected before an exception stays.
namespace Quarncommon::rules {

template <typename AnyNode>
void appendAddresses(const AnyNode& list, const std::string& fieldName,
                     const std::string& valuePrefix, std::list<std::string>& addresses) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        if (!node[fieldName].asString().starts_with(valuePrefix)) {
            reportSkipped(node, Skipped::Why::OtherField);
            continue;
        }
        for (const AnyNode& entry : addressEntries(node).elements()) {
            std::string address = entry["IP"].asString();
            if (address.empty()) {
                reportSkipped(entry, Skipped::Why::NoAddress);
                continue;
            }
            report(entry, [&](const Path& path) { return Collected{path, address}; });
            addresses.push_back(std::move(address));
        }
        report(node, [](const Path& path) { return NodeFinished{path}; });
    }
}

/// The "IP"s of entries with any of `tags` (lower case), for nodes whose id is not a key yet.
template <typename AnyNode>
void collectTaggedAddresses(const AnyNode& list, const std::set<std::string>& tags,
                            std::map<std::string, std::set<std::string>>& byNode) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        std::set<std::string> tagged;
        forEachTag(addressEntries(node), [&](AddressEntry<AnyNode>& entry, const std::string& tag) {
            if (tags.contains(tag) && entry.firstFor(&tagged)) {
                tagged.insert(*entry.address());
                entry.reportCollected();
            }
            return Walk::OtherTags;
        });
        if (!byNode.emplace(id, std::move(tagged)).second) {
            reportSkipped(node, Skipped::Why::AlreadyInAnswer);
        }
        report(node, [](const Path& path) { return NodeFinished{path}; });
    }
}

} // namespace Quarncommon::rules
