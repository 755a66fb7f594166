#pragma once

#include "SysConfReader.h"
#include "support/Deployment.h"

#include <initializer_list>
#include <string>

/// The process "p1" on node "n1" with the maintenance address "M", its files in the test's
/// directory. The reader is created and loaded on first use of reader().
class OwnNode {
public:
    static constexpr const char* kAppConfig =
        R"({"processes":{"p1":{"nodeId":"n1","IR":{"ip":"M"}}}})";

    OwnNode() { files.appConfig(kAppConfig); }

    /// Writes the node list with these address entries (see addressEntry) for "n1".
    OwnNode& addresses(const std::string& entries) {
        files.nodeList(R"({"nodeList":{"n1":{"IPAddresses":[)" + entries + "]}}}");
        return *this;
    }

    Quarncommon::SysConfReader& reader() { return *Quarncommon::SysConfReader::Instance(); }

    support::Deployment files;
};

/// The text of an address entry. Tags and address stand in it as they are, escapes included.
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
