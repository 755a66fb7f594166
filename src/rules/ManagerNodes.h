#pragma once

#include "rules/NodeList.h"

#include <json/value.h>

#include <list>
#include <map>
#include <set>
#include <string>
#include <utility>

/// What is asked of every node of a node list, in ascending order of node ids. When a value of the
/// wrong type throws, what was collected before it stays in the output.
namespace Quarncommon::rules {

/// Appends the non-empty "IP"s of address entries.
void appendAddresses(const Json::Value& addresses, std::list<std::string>& output);

/// The "IP"s of the entries that carry any of `tags` (lower case).
std::set<std::string> taggedAddresses(const Json::Value& addresses,
                                      const std::set<std::string>& tags);

/// Appends every non-empty "IP" of every node whose member `fieldName`, as text, begins with
/// `valuePrefix`.
template <typename Node>
void appendNodeAddresses(const Node& list, const std::string& fieldName,
                         const std::string& valuePrefix, std::list<std::string>& output) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        if (node[fieldName].value().asString().starts_with(valuePrefix)) {
            appendAddresses(addressEntries(node), output);
        }
    }
}

/// Inserts node id -> taggedAddresses for every node whose id is no key yet: a node that the
/// caller has already keeps its addresses, which shadow the list's.
template <typename Node>
void collectTaggedAddresses(const Node& list, const std::set<std::string>& tags,
                            std::map<std::string, std::set<std::string>>& byNode) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        byNode.emplace(id, taggedAddresses(addressEntries(node), tags));
    }
}

} // namespace Quarncommon::rules
