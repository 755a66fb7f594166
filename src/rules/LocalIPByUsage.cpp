#include "rules/LocalIPByUsage.h"

#include "rules/NodeList.h"

namespace Quarncommon::rules {

std::string addressByTag(const Node& addresses, const std::string& tag) {
    std::string address;
    forEachTag(addresses, [&](const Node& entry, const std::string& candidate) {
        if (candidate != tag) {
            return Walk::OtherTags;
        }
        address = entry["IP"].asString();
        return Walk::Stop;
    });
    return address;
}

} // namespace Quarncommon::rules
