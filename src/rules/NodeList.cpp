#include "rules/NodeList.h"

#include <cctype>

namespace Quarncommon::rules {

std::string lowerCased(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

const Json::Value& nodeEntry(const Json::Value& list, const std::string& nodeId) {
    return list["nodeList"][nodeId];
}

const Json::Value& addressEntries(const Json::Value& node) {
    return node["IPAddresses"];
}

std::string tenancy(const Json::Value& node) {
    return node["assignedToTenancy"].asString();
}

std::string hostType(const Json::Value& node) {
    return node["extAttr"]["hostType"].asString();
}

} // namespace Quarncommon::rules
