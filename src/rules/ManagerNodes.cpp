#include "rules/ManagerNodes.h"

#include "rules/NodeList.h"

#include <utility>

namespace Quarncommon::rules {

void appendAddresses(const Node& list, const std::string& fieldName, const std::string& valuePrefix,
                     std::list<std::string>& addresses) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        if (!node[fieldName].asString().starts_with(valuePrefix)) {
            continue;
        }
        for (const Node& entry : addressEntries(node).elements()) {
            std::string address = entry["IP"].asString();
            if (!address.empty()) {
                addresses.push_back(std::move(address));
            }
        }
    }
}

void collectTaggedAddresses(const Node& list, const std::set<std::string>& tags,
                            std::map<std::string, std::set<std::string>>& byNode) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        std::set<std::string> tagged;
        forEachTag(addressEntries(node), [&](const Node& entry, const std::string& tag) {
            if (tags.contains(tag)) {
                tagged.insert(entry["IP"].asString());
            }
            return Walk::OtherTags;
        });
        // A node that the caller has already keeps its addresses: they shadow this list's.
        byNode.emplace(id, std::move(tagged));
    }
}

} // namespace Quarncommon::rules
