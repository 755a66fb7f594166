#include "rules/ManagerNodes.h"

#include "rules/NodeList.h"

#include <utility>

namespace Quarncommon::rules {

void appendAddresses(const Json::Value& list, const std::string& fieldName,
                     const std::string& valuePrefix, std::list<std::string>& addresses) {
    const Json::Value& nodes = list["nodeList"];
    for (const std::string& id : nodes.getMemberNames()) {
        const Json::Value& node = nodes[id];
        if (!node[fieldName].asString().starts_with(valuePrefix)) {
            continue;
        }
        const Json::Value& entries = addressEntries(node);
        for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
            std::string address = entries[i]["IP"].asString();
            if (!address.empty()) {
                addresses.push_back(std::move(address));
            }
        }
    }
}

void collectTaggedAddresses(const Json::Value& list, const std::set<std::string>& tags,
                            std::map<std::string, std::set<std::string>>& byNode) {
    const Json::Value& nodes = list["nodeList"];
    for (const std::string& id : nodes.getMemberNames()) {
        std::set<std::string> tagged;
        forEachTag(addressEntries(nodes[id]),
                   [&](const Json::Value& entry, const std::string& tag) {
                       if (tags.count(tag) != 0) {
                           tagged.insert(entry["IP"].asString());
                       }
                       return Walk::OtherTags;
                   });
        // A node that the caller has already keeps its addresses: they shadow this list's.
        byNode.emplace(id, std::move(tagged));
    }
}

} // namespace Quarncommon::rules
