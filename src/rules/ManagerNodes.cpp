#include "rules/ManagerNodes.h"

namespace Quarncommon::rules {

void appendAddresses(const Json::Value& addresses, std::list<std::string>& output) {
    for (Json::ArrayIndex i = 0; i < addresses.size(); ++i) {
        std::string address = addresses[i]["IP"].asString();
        if (!address.empty()) {
            output.push_back(std::move(address));
        }
    }
}

std::set<std::string> taggedAddresses(const Json::Value& addresses,
                                      const std::set<std::string>& tags) {
    std::set<std::string> tagged;
    forEachTag(addresses, [&](const Json::Value& entry, const std::string& tag) {
        if (tags.count(tag) != 0) {
            tagged.insert(entry["IP"].asString());
        }
        return Walk::OtherTags;
    });
    return tagged;
}

} // namespace Quarncommon::rules
