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
        forEachTag(addressEntries(node), [&](AddressEntry& entry, const std::string& tag) {
            if (tags.contains(tag) && entry.firstFor(&tagged)) {
                tagged.insert(*entry.address());
            }
            return Walk::OtherTags;
        });
        // A node id that the caller's map already has keeps its addresses.
        byNode.emplace(id, std::move(tagged));
    }
}

} // namespace Quarncommon::rules
