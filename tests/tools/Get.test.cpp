// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

namespace {

using ::testing::HasSubstr;
using tool::View;

struct Row {
    View view;
    std::vector<std::string> query;
    std::string bare;
    std::string json;
};

const std::vector<Row> kRows = {
    {tool::kEast, {"local-service-ip"}, "198.51.100.1\n", R"("198.51.100.1")"},
    {tool::kEast, {"local-ip-by-usage", "Maintenance"}, "192.0.2.1\n", R"("192.0.2.1")"},
    {tool::kEast, {"db-access-host", "metrics", "1"}, "2001:db8:1::31\n", R"("2001:db8:1::31")"},
    // a number; 0 is an answer
    {tool::kEast, {"db-access-port", "inventory", "1"}, "5433\n", "5433"},
    {tool::kEast, {"pf-type"}, "2\n", "2"},
    {tool::kMaster, {"pf-type"}, "0\n", "0"},
    {tool::kWestData, {"corba-port"}, "0\n", "0"},
    // a list: one line for each item, in the order of the library
    {tool::kEast,
     {"ip-addresses", "assignedToTenancy", "eas"},
     "192.0.2.1\n198.51.100.1\n2001:db8:1::1\n198.51.100.51\n203.0.113.1\n2001:db8:1:1::2\n"
     "203.0.113.5\n203.0.113.101\n203.0.113.102\n2001:db8:1:2::10\n203.0.113.112\n"
     "2001:db8:1:2::20\n192.0.2.2\n198.51.100.2\n198.51.100.52\n192.0.2.5\n203.0.113.121\n"
     "203.0.113.122\n192.0.2.6\n203.0.113.131\n2001:db8:1:2::32\n192.0.2.3\n198.51.100.3\n"
     "198.51.100.53\n192.0.2.4\n198.51.100.4\n198.51.100.54\n",
     R"(["192.0.2.1","198.51.100.1","2001:db8:1::1","198.51.100.51","203.0.113.1",
         "2001:db8:1:1::2","203.0.113.5","203.0.113.101","203.0.113.102","2001:db8:1:2::10",
         "203.0.113.112","2001:db8:1:2::20","192.0.2.2","198.51.100.2","198.51.100.52","192.0.2.5",
         "203.0.113.121","203.0.113.122","192.0.2.6","203.0.113.131","2001:db8:1:2::32",
         "192.0.2.3","198.51.100.3","198.51.100.53","192.0.2.4","198.51.100.4","198.51.100.54"])"},
    {tool::kEast, {"ip-addresses", "assignedToTenancy", "south"}, "", "[]"},
    // a map: one line for each key and its text, numbers in numeric order
    {tool::kEast,
     {"local-node-ips", "southbound"},
     "0\t203.0.113.101\n2\t203.0.113.102\n10\t2001:db8:1:2::10\n12\t203.0.113.112\n"
     "20\t2001:db8:1:2::20\nservice\t198.51.100.1\nservice2\t2001:db8:1::1\n",
     R"({"0":"203.0.113.101","2":"203.0.113.102","10":"2001:db8:1:2::10","12":"203.0.113.112",
         "20":"2001:db8:1:2::20","service":"198.51.100.1","service2":"2001:db8:1::1"})"},
    {tool::kWestData,
     {"local-node-ips-by-tag", "maintenance", "northbound"},
     "maintenance\t192.0.2.204\nnorthbound\t\n",
     R"({"maintenance":"192.0.2.204","northbound":""})"},
    // one line for each node, any number of texts
    {tool::kMaster,
     {"all-float-ip", "internal_service", "maintenance"},
     "manager-1\t192.0.2.100\t198.51.100.100\nnode-1\t192.0.2.11\t198.51.100.11\n"
     "node-2\t192.0.2.12\t198.51.100.12\n",
     R"({"manager-1":["192.0.2.100","198.51.100.100"],"node-1":["192.0.2.11","198.51.100.11"],
         "node-2":["192.0.2.12","198.51.100.12"]})"},
    {tool::kMaster,
     {"all-float-ip", "northbound2"},
     "manager-1\nnode-1\t203.0.113.12\nnode-2\n",
     R"({"manager-1":[],"node-1":["203.0.113.12"],"node-2":[]})"},
    {tool::kWestData, {"all-db-info"}, "{}\n", "{}"},
};

std::vector<std::string> getCommand(const Row& row, const std::string& format) {
    std::vector<std::string> arguments = {"get"};
    arguments.insert(arguments.end(), row.query.begin(), row.query.end());
    arguments.insert(arguments.end(), {"-o", format});
    return arguments;
}

TEST(Get, EachKindOfAnswer_IsBareForScripts) {
    for (const Row& row : kRows) {
        const auto result = tool::run(row.view, getCommand(row, "plain"));
        EXPECT_EQ(result.output, row.bare) << row.query.front();
        EXPECT_EQ(result.errors, "") << row.query.front();
        EXPECT_EQ(result.exitStatus, 0) << row.query.front();
    }
}

TEST(Get, EachKindOfAnswer_IsItsOwnTypeInJson) {
    for (const Row& row : kRows) {
        const auto result = tool::run(row.view, getCommand(row, "json"));
        const Json::Value reply = tool::parsed(result.output);
        EXPECT_EQ(reply["value"], tool::parsed(row.json)) << row.query.front();
        EXPECT_EQ(reply["query"].asString(), row.query.front());
        EXPECT_TRUE(reply["answered"].asBool()) << row.query.front();
        EXPECT_EQ(reply["schemaVersion"], 1);
        EXPECT_FALSE(reply.isMember("masked")) << row.query.front();
        EXPECT_EQ(result.exitStatus, 0) << row.query.front();
    }
}

TEST(Get, WithoutFormat_IsPlain) {
    EXPECT_EQ(tool::run(tool::kEast, {"get", "local-port"}).output, "32000\n");
}

TEST(Get, NameOfTheOperation_IsAnAliasOfTheQuery) {
    EXPECT_EQ(tool::run(tool::kEast, {"get", "getLocalPort"}).output, "32000\n");
    const auto result = tool::run(tool::kEast, {"get", "getDBType", "metrics", "0", "-o", "json"});
    EXPECT_EQ(tool::parsed(result.output)["query"], "db-type");
}

TEST(Get, AsTable_IsOneRowOfIt) {
    EXPECT_EQ(tool::run(tool::kEast, {"get", "local-port", "-o", "table"}).output,
              "  local-port  32000\n");
    EXPECT_EQ(
        tool::run(tool::kMaster, {"get", "local-node-ips", "northbound", "-o", "table"}).output,
        "  local-node-ips northbound  0        203.0.113.10\n"
        "                             2        203.0.113.12\n"
        "                             service  127.0.0.1\n");
}

TEST(Get, NoAnswer_PrintsNothingButInTheOtherFormats) {
    EXPECT_EQ(tool::run(tool::kMaster, {"get", "local-service2-ip"}).output, "");
    EXPECT_EQ(tool::run(tool::kMaster, {"get", "local-service2-ip", "-o", "table"}).output,
              "  local-service2-ip  (no answer)\n");
    const Json::Value reply =
        tool::parsed(tool::run(tool::kMaster, {"get", "local-service2-ip", "-o", "json"}).output);
    EXPECT_FALSE(reply["answered"].asBool());
    EXPECT_TRUE(reply.isMember("value"));
    EXPECT_TRUE(reply["value"].isNull());
}

TEST(Get, ArgumentsThatLookLikeSomethingElse_ReachTheLibrary) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n"}}})");
    deployment.nodeList(R"({"nodeList": {"n": {"IPAddresses": [
        {"IP": "1", "usage": ["show"]}, {"IP": "2", "usage": ["[a,b]"]},
        {"IP": "3", "usage": [""]}, {"IP": "4", "usage": ["--list"]}, {"IP": "5", "usage": ["[]"]},
        {"IP": "6", "usage": ["a b"]}]}}})");
    EXPECT_EQ(tool::run({"get", "local-ip-by-usage", "show"}).output, "1\n");
    EXPECT_EQ(tool::run({"get", "local-ip-by-usage", "[a,b]"}).output, "2\n");
    EXPECT_EQ(tool::run({"get", "local-ip-by-usage", ""}).output, "3\n");
    EXPECT_EQ(tool::run({"get", "local-ip-by-usage", "--", "--list"}).output, "4\n");
    EXPECT_EQ(tool::run({"get", "local-ip-by-usage", "[]"}).output, "5\n");
    EXPECT_EQ(tool::run({"get", "local-ip-by-usage", "a b"}).output, "6\n");
}

TEST(Get, SouthboundTagsWithoutAddress_AreLeftOutUnlessAskedFor) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n"}}})");
    deployment.nodeList(R"({"nodeList": {"n": {"IPAddresses": [
        {"IP": "9", "usage": ["southbound9"]}, {"IP": "100", "usage": ["southbound100"]},
        {"IP": "20", "usage": ["southbound20"]}, {"usage": ["southbound3"]}]}}})");
    EXPECT_EQ(tool::run({"get", "local-node-ips-by-tag"}).output,
              "southbound9\t9\nsouthbound20\t20\nsouthbound100\t100\n");
    EXPECT_EQ(tool::run({"get", "local-node-ips-by-tag", "southbound3"}).output,
              "southbound3\t\nsouthbound9\t9\nsouthbound20\t20\nsouthbound100\t100\n");
}

TEST(Get, SourceNode_IsReadOnEachCallEvenIfThisNodeIsNoStandby) {
    support::Deployment deployment;
    deployment.nodeList(R"({"nodeList": {
        "other": {"IPAddresses": [{"IP": "127.0.0.1", "usage": ["service"]}]}}})");
    EXPECT_EQ(tool::run({"get", "source-node-id"}).output, "other\n");
    EXPECT_EQ(tool::run({"get", "float-node-id"}).output, "");
}

} // namespace
