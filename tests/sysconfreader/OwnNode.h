// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReader.h"
#include "support/Deployment.h"

#include <sstream>
#include <string>

/// "A=service,B=x|y" is the address "A" with the tag "service", and the address "B" with the tags
/// "x" and "y". Both may contain JSON escapes.
inline std::string entries(const std::string& addressesAndTags) {
    std::string json;
    std::istringstream all(addressesAndTags);
    for (std::string entry; std::getline(all, entry, ',');) {
        const std::size_t equals = entry.find('=');
        std::string tags = entry.substr(equals + 1);
        for (std::size_t at = 0; (at = tags.find('|', at)) != std::string::npos; at += 3) {
            tags.replace(at, 1, R"(",")");
        }
        json += (json.empty() ? "" : ",") + (R"({"IP":")" + entry.substr(0, equals)) +
                R"(","usage":[")" + tags + R"("]})";
    }
    return json;
}

inline std::string nodeWith(const std::string& id, const std::string& entries) {
    return '"' + id + R"(":{"IPAddresses":[)" + entries + "]}";
}

inline std::string listOf(const std::string& nodes) {
    return R"({"nodeList":{)" + nodes + "}}";
}

/// The deployment of process "p1" on node "n1" with the maintenance address "M".
class OwnNode {
public:
    static constexpr const char* kAppConfig =
        R"({"processes":{"p1":{"nodeId":"n1","IR":{"ip":"M"}}}})";

    OwnNode() { files.appConfig(kAppConfig); }

    OwnNode& addresses(const std::string& entries) {
        files.nodeList(listOf(nodeWith("n1", entries)));
        return *this;
    }

    /// "source" is its source node if the host has the service address of "source".
    void standby(const std::string& own, const std::string& source) {
        files.nodeList(listOf(R"("n1":{"extAttr":{"hostType":"standby"},"IPAddresses":[)" + own +
                              "]}," + nodeWith("source", source)));
    }

    Quarncommon::SysConfReader& reader() { return *Quarncommon::SysConfReader::Instance(); }

    support::Deployment files;
};
