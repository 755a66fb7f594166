// SPDX-License-Identifier: Apache-2.0

#include "OwnNode.h"
#include "support/HostAddresses.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Quarncommon::SysConfReader;
using support::Deployment;

struct SourceRow {
    const char* name;
    std::string list;  // the text of "nodeList"
    const char* found; // null: the argument keeps its value
};

std::string nodes(std::initializer_list<std::pair<const char*, const char*>> idsAndEntries) {
    std::string json;
    for (const auto& [id, addressesAndTags] : idsAndEntries) {
        json += (json.empty() ? "{" : ",") + nodeWith(id, entries(addressesAndTags));
    }
    return json + "}";
}

// The host has 192.0.2.1, 192.0.2.2 and 2001:db8::1, in this order.
const SourceRow kRows[] = {
    {"service address of the host", nodes({{"n1", "192.0.2.1=service"}}), "n1"},
    {"second address of the host", nodes({{"n1", "192.0.2.2=service"}}), "n1"},
    {"IPv6 address of the host", nodes({{"n1", "2001:db8::1=service"}}), "n1"},
    {"IPv6 address in another spelling", nodes({{"n1", "2001:DB8::1=service"}}), nullptr},
    {"longer address", nodes({{"n1", "192.0.2.11=service"}}), nullptr},
    {"shorter address", nodes({{"n1", "192.0.2.=service"}}), nullptr},
    {"address with a blank", nodes({{"n1", "192.0.2.1 =service"}}), nullptr},
    {"address of another host", nodes({{"n1", "192.0.2.3=service"}}), nullptr},
    {"no node", "{}", nullptr},
    {"nodeList null", "null", nullptr},
    {"node without addresses", R"({"n1": {}, "n2": {"IPAddresses": []}, "n3": null})", nullptr},
    {"entry without usage", R"({"n1": {"IPAddresses": [{"IP": "192.0.2.1"}]}})", nullptr},
    {"usage a plain text", R"({"n1": {"IPAddresses": [{"IP": "192.0.2.1", "usage": "service"}]}})",
     nullptr},
    {"tag in mixed case", nodes({{"n1", "192.0.2.1=SerVice"}}), "n1"},
    {"tag in upper case", nodes({{"n1", "192.0.2.1=SERVICE"}}), "n1"},
    {"other tags",
     nodes({{"n1", "192.0.2.1=service2|services|servic| service|internal_service|maintenance"}}),
     nullptr},
    {"tag among others", nodes({{"n1", "192.0.2.1=x|service|y"}}), "n1"},
    {"tag twice in an entry", nodes({{"n1", "192.0.2.1=service|service"}}), "n1"},
    {"last of two service entries wins", nodes({{"n1", "192.0.2.1=service,192.0.2.3=service"}}),
     nullptr},
    {"last of two service entries is the host's",
     nodes({{"n1", "192.0.2.3=service,192.0.2.1=service"}}), "n1"},
    {"later entries without the tag add nothing",
     nodes({{"n1", "192.0.2.1=service,192.0.2.3=maintenance"}}), "n1"},
    {"last service entry without IP",
     R"({"n1": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]},
                                {"usage": ["service"]}]}})",
     nullptr},
    {"smallest id of two", nodes({{"n2", "192.0.2.1=service"}, {"n1", "192.0.2.1=service"}}), "n1"},
    {"smallest id before the host's first address",
     nodes({{"n1", "192.0.2.2=service"}, {"n2", "192.0.2.1=service"}}), "n1"},
    {"smallest id by bytes", nodes({{"n9", "192.0.2.1=service"}, {"n10", "192.0.2.1=service"}}),
     "n10"},
    {"upper case ids before lower case ones",
     nodes({{"a", "192.0.2.1=service"}, {"B", "192.0.2.1=service"}}), "B"},
    {"empty id", nodes({{"", "192.0.2.1=service"}}), ""},
    {"standby is no source",
     R"({"n1": {"extAttr": {"hostType": "standby"},
                "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}})",
     nullptr},
    {"standby is skipped",
     R"({"n1": {"extAttr": {"hostType": "standby"},
                "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]},
         "n2": {"extAttr": {"hostType": "master"},
                "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}})",
     "n2"},
    {"standby in another case is a source",
     R"({"n1": {"extAttr": {"hostType": "Standby"},
                "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}})",
     "n1"},
    {"any other host type is a source",
     R"({"n1": {"extAttr": {"hostType": 5},
                "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}})",
     "n1"},
    {"host type null is a source",
     R"({"n1": {"extAttr": {"hostType": null},
                "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}})",
     "n1"},
    {"wrong type in a standby's addresses is not read",
     R"({"n1": {"extAttr": {"hostType": "standby"}, "IPAddresses": "text"},
         "n2": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}})",
     "n2"},
    {"nodes before a wrong type are used",
     R"({"n1": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]},
         "n2": {"extAttr": []}})",
     "n1"},
    {"nodes after a wrong type are not reached",
     R"({"n1": {"extAttr": []},
         "n2": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}})",
     nullptr},
    {"service address before a wrong type in the same node",
     R"({"n1": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}, "text"]}})", "n1"},
    {"tag that is no text",
     R"({"n1": {"IPAddresses": [{"IP": "192.0.2.1", "usage": [{}, "service"]}]}})", nullptr},
    {"wrong type after the service tag is not read",
     R"({"n1": {"IPAddresses": [{"IP": "192.0.2.3", "usage": ["service", []]}]},
         "n2": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}})",
     "n2"},
    {"tag that is a number",
     R"({"n1": {"IPAddresses": [{"IP": "192.0.2.1", "usage": [5, "service"]}]}})", "n1"},
    {"IP an object", R"({"n1": {"IPAddresses": [{"IP": {}, "usage": ["service"]}]}})", nullptr},
    {"IP null", R"({"n1": {"IPAddresses": [{"IP": null, "usage": ["service"]}]}})", nullptr},
    {"node an array", R"({"n1": []})", nullptr},
    {"nodeList an array", "[]", nullptr},
    {"nodeList a text", R"("n1")", nullptr},
};

std::string answer(const std::string& before) {
    std::string sourceNodeId = before;
    SysConfReader::Instance()->getSourceNodeId(sourceNodeId);
    return sourceNodeId;
}

TEST(SourceNodeId, AnyNodeList_AnswersByItsServiceAddresses) {
    Deployment deployment;
    support::setHostAddresses({"192.0.2.1", "192.0.2.2", "2001:db8::1"});
    for (const SourceRow& row : kRows) {
        SCOPED_TRACE(row.name);
        deployment.nodeList(R"({"nodeList": )" + row.list + "}");
        EXPECT_EQ(answer("before"), row.found != nullptr ? row.found : "before");
    }
}

TEST(SourceNodeId, NoMatch_LeavesTheArgumentUnchanged) {
    Deployment deployment;
    deployment.nodeList(listOf(nodeWith("n1", entries("192.0.2.3=service"))));
    support::setHostAddresses({"192.0.2.1"});
    for (const char* before : {"", "own", "n1"}) {
        EXPECT_EQ(answer(before), before);
    }
}

TEST(SourceNodeId, HostWithoutAddresses_MatchesNothing) {
    Deployment deployment;
    deployment.nodeList(R"({"nodeList": {"n1": {"IPAddresses": [{"usage": ["service"]}]}}})");
    support::setHostAddresses({});
    EXPECT_EQ(answer("before"), "before");
}

TEST(SourceNodeId, ListNotParsable_LeavesTheArgumentUnchanged) {
    Deployment deployment;
    support::setHostAddresses({"192.0.2.1"});
    EXPECT_EQ(answer("before"), "before");
    for (const char* text : {"", "{", "[]", "5", "null", R"("nodeList")"}) {
        SCOPED_TRACE(text);
        deployment.nodeList(text);
        EXPECT_EQ(answer("before"), "before");
    }
    std::filesystem::remove(deployment.nodeListPath());
    std::filesystem::create_directory(deployment.nodeListPath());
    EXPECT_EQ(answer("before"), "before");
}

TEST(SourceNodeId, ListOrHostChanged_IsReadOnEachCall) {
    Deployment deployment;
    const auto list = [](const std::string& id) {
        return listOf(nodeWith(id, entries("192.0.2.1=service")));
    };
    deployment.nodeList(list("n1"));
    support::setHostAddresses({"192.0.2.1"});
    EXPECT_EQ(answer("before"), "n1");
    deployment.nodeList(list("n2"));
    EXPECT_EQ(answer("before"), "n2");
    support::setHostAddresses({"192.0.2.9"});
    EXPECT_EQ(answer("before"), "before");
}

TEST(SourceNodeId, OwnMasterNode_CanBeTheSource) {
    Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "own"}}})").nodeList(R"({"nodeList": {
            "own": {"extAttr": {"hostType": "master"},
                    "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]},
            "z": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}}})");
    support::setHostAddresses({"192.0.2.1"});
    EXPECT_EQ(answer("before"), "own");
}

TEST(SourceNodeId, SeveralSources_SmallestIdWins) {
    Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "own"}}})").nodeList(R"({"nodeList": {
            "own": {"extAttr": {"hostType": "standby", "HOSTID": "own tag"},
                    "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]},
            "b": {"extAttr": {"HOSTID": "b tag"},
                  "IPAddresses": [{"IP": "2001:db8::1", "usage": ["service"]}]},
            "c": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]}}})");
    support::setHostAddresses({"192.0.2.1", "2001:db8::1"});
    EXPECT_EQ(SysConfReader::Instance()->getFloatNodeId(), "b");
    EXPECT_EQ(SysConfReader::Instance()->getLocalHostTagName(), "b tag");
}

TEST(SourceNodeId, StandbyNodeWithoutAppConfig_UsesTheNewSourceAtAReload) {
    // The own node is known from the load before.
    const auto list = [](const std::string& source) {
        return listOf(R"("own": {"extAttr": {"hostType": "standby"}},)" +
                      nodeWith(source, entries("192.0.2.1=service")));
    };
    Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "own"}}})").nodeList(list("b"));
    support::setHostAddresses({"192.0.2.1"});
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.getFloatNodeId(), "b");
    std::filesystem::remove(deployment.appConfigPath());
    deployment.nodeList(list("c"));
    reader.Reload();
    EXPECT_EQ(reader.getFloatNodeId(), "c");
}

} // namespace
