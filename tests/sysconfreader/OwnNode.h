// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReader.h"
#include "support/Deployment.h"

#include <initializer_list>
#include <string>

/// Process "p1" on node "n1" with the maintenance address "M", with files in the test's directory.
class OwnNode {
public:
    static constexpr const char* kAppConfig =
        R"({"processes":{"p1":{"nodeId":"n1","IR":{"ip":"M"}}}})";

    OwnNode() { files.appConfig(kAppConfig); }

    /// Writes a node list in which "n1" has these address entries (see addressEntry).
    OwnNode& addresses(const std::string& entries) {
        files.nodeList(R"({"nodeList":{"n1":{"IPAddresses":[)" + entries + "]}}}");
        return *this;
    }

    Quarncommon::SysConfReader& reader() { return *Quarncommon::SysConfReader::Instance(); }

    support::Deployment files;
};

/// An address entry as JSON. Tags and address are inserted verbatim and may contain escapes.
inline std::string addressEntry(const std::string& ip, std::initializer_list<const char*> tags) {
    std::string usage;
    for (const char* tag : tags) {
        usage += (usage.empty() ? "\"" : ",\"") + std::string(tag) + "\"";
    }
    return R"({"IP":")" + ip + R"(","usage":[)" + usage + "]}";
}

/// Several entries, each with one tag; `addressEntries({{"A", "northbound"}, {"B", "service"}})`.
inline std::string
addressEntries(std::initializer_list<std::pair<const char*, const char*>> addressesAndTags) {
    std::string all;
    for (const auto& [ip, tag] : addressesAndTags) {
        all += (all.empty() ? "" : ",") + addressEntry(ip, {tag});
    }
    return all;
}
