// SPDX-License-Identifier: Apache-2.0

#include "rules/ReaderLoad.h"
#include "rules/RoleLoad.h"
#include "rules/TraceText.h"

#include <gmock/gmock.h>

namespace {

using namespace Quarncommon::rules;
using testing::ElementsAre;

struct Loaded {
    std::map<std::string, Json::Value> databases = {{"old", 1}};
    std::string maintenance = "M";
    std::string localhost = "L";
    std::string wss = "W";
    int wssPort = 1;
    int localPort = 2;
    int corbaPort = 3;
    int corbaSslPort = 4;
    std::string nodeId = "n";
    std::string hostType = "h";
    std::string floatNodeId = "f";
    std::string tag = "t";

    ReaderValues values() {
        return {databases, maintenance,  localhost, wss,      wssPort,     localPort,
                corbaPort, corbaSslPort, nodeId,    hostType, floatNodeId, tag};
    }

    std::string text() const {
        std::string text;
        for (const auto& [name, database] : databases) {
            text += name + ' ';
        }
        for (const std::string& value : {maintenance, localhost, wss}) {
            text += value + ' ';
        }
        for (const int port : {wssPort, localPort, corbaPort, corbaSslPort}) {
            text += std::to_string(port) + ' ';
        }
        return text + nodeId + ' ' + hostType + ' ' + floatNodeId + ' ' + tag;
    }
};

std::string appConfigWith(const std::string& broken) {
    std::string text = R"({"databases":{"db":[]},"processes":{"p":{"IR":{"ip":"a"},
        "local":{"ip":"b","port":22},"wss":{"ip":"c","port":11},"CORBA":{"port":33},
        "CORBA_SSL":{"port":44},"nodeId":"d"}}})";
    if (!broken.empty()) {
        text.replace(text.find(broken), broken.size(), "{\"odd\":1}");
    }
    return text;
}

TEST(ReaderLoad, ValueOfTheWrongType_LeavesTheValuesBeforeItNewAndThoseAfterItOld) {
    const struct {
        const char* broken;
        const char* values;
    } rows[] = {
        {"", "db old a b c 11 22 33 44 d h d t"},      {"\"a\"", "db old M L W 1 2 3 4 n h f t"},
        {"\"b\"", "db old a L W 1 2 3 4 n h f t"},     {"\"c\"", "db old a b W 1 2 3 4 n h f t"},
        {"11", "db old a b c 1 2 3 4 n h f t"},        {"22", "db old a b c 11 2 3 4 n h f t"},
        {"33", "db old a b c 11 22 3 4 n h f t"},      {"44", "db old a b c 11 22 33 4 n h f t"},
        {"\"d\"", "db old a b c 11 22 33 44 n h f t"},
    };
    for (const auto& row : rows) {
        Loaded loaded;
        const Json::Value root = json(appConfigWith(row.broken));
        try {
            loadAppConfig(Node(root), "p", loaded.values());
            EXPECT_STREQ(row.broken, "");
        } catch (const Json::Exception&) {
            EXPECT_STRNE(row.broken, "");
        }
        EXPECT_EQ(loaded.text(), row.values) << row.broken;
    }
}

TEST(ReaderLoad, AppConfig_ReportsTheKeysInTheirOrder) {
    Loaded loaded;
    EXPECT_THAT(
        traced(appConfigWith(""),
               [&](const TracedNode& root) { loadAppConfig(root, "p", loaded.values()); }),
        ElementsAre("read /processes/p/IR/ip = a", "read /processes/p/local/ip = b",
                    "read /processes/p/wss/ip = c", "read /processes/p/wss/port = 11",
                    "read /processes/p/local/port = 22", "read /processes/p/CORBA/port = 33",
                    "read /processes/p/CORBA_SSL/port = 44", "read /processes/p/nodeId = d"));
}

TEST(ReaderLoad, NodeList_ReadsTheRoleOfTheOwnNodeAndTheTagOfTheFloatNode) {
    const std::string list = R"({"nodeList":{
        "n":{"extAttr":{"hostType":"standby","HOSTID":"own"}},
        "s":{"extAttr":{"hostType":"master","HOSTID":"other"}},
        "x":{"extAttr":{"hostType":"standby","HOSTID":[]}}}})";
    const Json::Value root = json(list);
    const auto load = [&](const std::string& own, const std::string& source) {
        Loaded loaded;
        loaded.nodeId = loaded.floatNodeId = own;
        try {
            loadNodeList(
                Node(root), [&](std::string& nodeId) { nodeId = source; }, loaded.values());
        } catch (const Json::Exception&) {
            loaded.hostType += " thrown";
        }
        return loaded.hostType + ' ' + loaded.floatNodeId + ' ' + loaded.tag;
    };
    EXPECT_EQ(load("n", "s"), "standby s other");
    EXPECT_EQ(load("s", "n"), "master s other"); // no standby looks for a source
    EXPECT_EQ(load("x", "x"), "standby thrown x t");
    EXPECT_EQ(load("absent", "s"), " absent ");
}

TEST(RoleLoad, Steps_AssignFromTheirFilesAndKeepWhatTheyDoNotReach) {
    const Json::Value config = json(R"({"processes":{"p":{"nodeId":"n"},"q":{"nodeId":[]}}})");
    const Json::Value list = json(R"({"nodeList":{"n":{"assignedToTenancy":"t",
        "IPAddresses":[{"IP":"1","usage":["maintenance"]}]}}})");
    const Json::Value manager = json(R"({"nodeList":{
        "m":{"assignedToTenancy":"t","IPAddresses":[{"IP":"2","usage":["internal_service"]}],
             "extAttr":{"hostType":"master","domain_node_type":"ACCESS_Master"}},
        "s":{"IPAddresses":{"odd":1}}}})");
    std::string id = "old";
    EXPECT_THROW(loadLocalNodeId(Node(config), "q", id), Json::Exception);
    EXPECT_EQ(id, "old");
    loadLocalNodeId(Node(config), "p", id);
    EXPECT_EQ(id, "n");
    std::string address;
    loadLocalIp(Node(list), id, address);
    EXPECT_EQ(address, "1");
    std::string tenancy;
    loadTenancy(Node(list), id, tenancy);
    EXPECT_EQ(tenancy, "t");
    std::string master = "old";
    std::string standby = "s";
    loadRoleNodeIds(Node(manager), tenancy, master, standby);
    EXPECT_EQ(master + standby, "ms");
    std::string standbyAddress = "kept";
    EXPECT_THROW(loadRoleIps(Node(manager), master, standby, address, standbyAddress),
                 Json::Exception);
    EXPECT_EQ(address, "2");
    EXPECT_EQ(standbyAddress, "kept");
}

} // namespace
