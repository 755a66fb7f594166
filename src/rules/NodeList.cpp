#include "rules/NodeList.h"

#include <cctype>

namespace Quarncommon::rules {

std::string lowerCased(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

Node nodeEntry(const Node& list, const std::string& nodeId) {
    return list["nodeList"][nodeId];
}

Node addressEntries(const Node& node) {
    return node["IPAddresses"];
}

std::string tenancy(const Node& node) {
    return node["assignedToTenancy"].asString();
}

std::string hostType(const Node& node) {
    return node["extAttr"]["hostType"].asString();
}

} // namespace Quarncommon::rules
