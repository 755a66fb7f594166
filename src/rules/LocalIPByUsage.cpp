#include "rules/LocalIPByUsage.h"

#include "rules/NodeList.h"

namespace Quarncommon::rules {

std::string addressByTag(const Node& addresses, const std::string& tag) {
    std::string address;
    forEachTag(addresses, [&](AddressEntry& entry, const std::string& candidate) {
        if (candidate != tag) {
            return Walk::OtherTags;
        }
        address = *entry.address();
        return Walk::Stop;
    });
    return address;
}

} // namespace Quarncommon::rules
