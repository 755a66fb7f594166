// SPDX-License-Identifier: Apache-2.0

#include "Golden.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

#include <map>

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

TEST(Nodes, OfTheSamples_EqualTheGoldenFiles) {
    tool::expectGolden(tool::kWestData, {"nodes"}, 0, "nodes-west-data-2.table.txt");
    tool::expectGolden(tool::kStandby, {"nodes"}, 0, "nodes-standby.table.txt");
    tool::expectGolden(tool::kStandby, {"nodes", "-o", "wide"}, 0, "nodes-standby.wide.txt");
    tool::expectGolden(tool::kStandby, {"nodes", "-o", "plain"}, 0, "nodes-standby.txt");
    tool::expectGolden(tool::kStandby, {"nodes", "-o", "json"}, 0, "nodes-standby.json");
}

TEST(Nodes, AddressesOfTheHost_CanBeGivenAsOptions) {
    const auto elsewhere =
        tool::parsed(tool::run(tool::kStandby, {"nodes", "-o", "json", "--local-address",
                                                "198.51.100.62", "--local-address", "192.0.2.12"})
                         .output);
    EXPECT_EQ(elsewhere["floatNode"], "node-2");
    const auto here =
        tool::parsed(tool::run(tool::kStandby, {"nodes", "-o", "json", "--local-address",
                                                "192.0.2.12", "--local-address", "127.0.0.1"})
                         .output);
    EXPECT_EQ(here["floatNode"], "node-1");
}

TEST(Nodes, ListsThatDoNotLoad_AreReportedAndNoNodeIsNoAnswer) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n"}}})");
    deployment.nodeList("{\"nodeList\": {,}}");
    const auto result = tool::run({"nodes"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors,
                AllOf(HasSubstr("nodelist.json:1:15: a member's name is expected here"),
                      HasSubstr("nodelists.json: No such file or directory"),
                      Not(HasSubstr("app.json"))));
    const Json::Value json = tool::parsed(tool::run({"nodes", "-o", "json"}).output);
    EXPECT_EQ(json["errors"].size(), 2U);
    EXPECT_EQ(json["nodes"].size(), 0U);
    EXPECT_EQ(json["schemaVersion"], 1);

    deployment.managerNodeList(R"({"nodeList": {"n": {}}})");
    EXPECT_EQ(tool::run({"nodes"}).exitStatus, 0);
}

TEST(Nodes, ValuesOfWrongTypes_DoNotHideOthers) {
    support::Deployment deployment;
    deployment.nodeList(R"({"nodeList": {
        "a": 1, "b": [], "c": {"extAttr": "x", "IPAddresses": {"a": 1}},
        "d": {"assignedToTenancy": "t", "IPAddresses": [1, {"IP": {}, "usage": "service"},
              {"IP": "192.0.2.1", "usage": ["Service", {}]}]}}})");
    const auto result = tool::run({"nodes", "-o", "plain"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "a\t\t\t\t\t\t\nb\t\t\t\t\t\t\nc\t\t\t\t\t\t\n"
                             "d\t\tt\t\t\t\t\n");
    const Json::Value json = tool::parsed(tool::run({"nodes", "-o", "json"}).output);
    EXPECT_EQ(json["nodes"][3]["nodeList"]["addresses"][1]["ip"], "192.0.2.1");
    EXPECT_EQ(json["nodes"][3]["nodeList"]["addresses"][1]["tags"][0], "service");
}

TEST(Nodes, SeveralTenancies_HaveAMasterAndAStandbyEach) {
    support::Deployment deployment;
    deployment.managerNodeList(R"({"nodeList": {
        "a": {"extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master"}},
        "b": {"extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master"}},
        "c": {"extAttr": {"hostType": "Master", "domain_node_type": "ACCESS_Master"}},
        "d": {"assignedToTenancy": "t",
              "extAttr": {"hostType": "standby", "domain_node_type": "ACCESS_Backup"}}}})");
    EXPECT_EQ(tool::run({"nodes", "-o", "plain"}).output,
              "a\tmaster\t\t\t\t\t\nb\tmaster\t\tmaster\t\t\t\nc\tMaster\t\t\t\t\t\n"
              "d\tstandby\tt\tstandby\t\t\t\n");
}

TEST(Nodes, TenancyOfAWrongType_HidesTheRolesOfLaterNodesOfAllTenancies) {
    support::Deployment deployment;
    deployment.managerNodeList(R"({"nodeList": {
        "a": {"assignedToTenancy": "s",
              "extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master"}},
        "b": {"assignedToTenancy": "t",
              "extAttr": {"hostType": "standby", "domain_node_type": "ACCESS_Backup"}},
        "c": {"assignedToTenancy": "u", "extAttr": {"hostType": {}}},
        "d": {"assignedToTenancy": "t",
              "extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master"}},
        "e": {"assignedToTenancy": []},
        "f": {"assignedToTenancy": "s",
              "extAttr": {"hostType": "standby", "domain_node_type": "ACCESS_Backup"}}}})");
    EXPECT_EQ(tool::run({"nodes", "-o", "plain"}).output,
              "a\tmaster\ts\tmaster\t\t\t\nb\tstandby\tt\tstandby\t\t\t\nc\t\tu\t\t\t\t\n"
              "d\tmaster\tt\tmaster\t\t\t\ne\t\t\t\t\t\t\nf\tstandby\ts\t\t\t\t\n");
}

std::vector<std::string> listed(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"nodes", "-o", "name"});
    return tool::linesOf(tool::run(tool::kWestData, arguments).output);
}

TEST(Nodes, Filters_AcceptNodesByTenancyRoleAndTags) {
    EXPECT_THAT(listed({}), SizeIs(12));
    EXPECT_THAT(listed({"--tenancy", "west", "--role", "master"}),
                ElementsAre("west-access-1", "west-data-1"));
    EXPECT_THAT(listed({"--role", "DATA_master", "--role", "collect"}),
                ElementsAre("east-collect-1", "east-collect-2", "east-data-1", "west-collect-1",
                            "west-collect-2", "west-data-1"));
    EXPECT_THAT(listed({"--tag", "SERVICE2"}), ElementsAre("east-access-1", "west-data-2"));
    EXPECT_THAT(listed({"--tag", "service2", "--tag", "southbound"}), ElementsAre("east-access-1"));
    EXPECT_THAT(listed({"--tenancy", "east", "--missing", "southbound"}),
                ElementsAre("east-access-2", "east-data-1", "east-data-2"));
    EXPECT_THAT(listed({"--role", "collect", "west-collect-1", "west-data-1"}),
                ElementsAre("west-collect-1"));
    const auto map = tool::parsed(
        tool::run(tool::kWestData, {"map", "-o", "json", "--tenancy", "west", "--role", "master"})
            .output);
    ASSERT_EQ(map["tenancies"].size(), 1U);
    EXPECT_EQ(map["tenancies"][0]["nodes"].size(), 2U);
}

TEST(Nodes, FilterThatNoNodeMatches_IsReportedWithANearMatch) {
    for (const char* command : {"nodes", "map"}) {
        const auto result = tool::run(tool::kWestData, {command, "--tenancy", "eats", "--tag",
                                                        "southbund", "--role", "frobnicate"});
        EXPECT_EQ(result.exitStatus, 1) << command;
        EXPECT_EQ(result.errors, "sysconfctl: no node has the tenancy eats, did you mean east?\n"
                                 "sysconfctl: no node has the role frobnicate\n"
                                 "sysconfctl: no node has the tag southbund, did you mean "
                                 "southbound?\n");
        const auto missing = tool::run(tool::kWestData, {command, "--missing", "southbund"});
        EXPECT_EQ(missing.exitStatus, 0) << command;
        EXPECT_THAT(missing.errors, HasSubstr("southbund, did you mean southbound?"));
    }
    EXPECT_EQ(tool::run(tool::kWestData,
                        {"nodes", "--tenancy", "east", "--tag", "service2", "--role", "standby"})
                  .exitStatus,
              1);
}

TEST(Nodes, Sort_ComparesNumbersByValueAndPutsNodesWithoutTheFieldLast) {
    support::Deployment deployment;
    deployment.nodeList(R"({"nodeList": {
        "n10": {"IPAddresses": [{"IP": "192.0.2.9", "usage": ["service"]}]},
        "n9": {"IPAddresses": [{"IP": "192.0.2.10", "usage": ["service"]}]},
        "n1": {"assignedToTenancy": "t"}, "n01": {"assignedToTenancy": "s"}}})");
    const auto sorted = [](const char* field) {
        return tool::linesOf(tool::run({"nodes", "-o", "name", "--sort", field}).output);
    };
    EXPECT_THAT(sorted("node"), ElementsAre("n01", "n1", "n9", "n10"));
    EXPECT_THAT(sorted("service"), ElementsAre("n10", "n9", "n01", "n1"));
    EXPECT_THAT(sorted("tenancy"), ElementsAre("n01", "n1", "n10", "n9"));
}

TEST(Nodes, Json_HasWhatTheTablesShow) {
    const Json::Value node = tool::parsed(
        tool::run(tool::kStandby, {"nodes", "-o", "json", "node-2"}).output)["nodes"][0];
    EXPECT_EQ(node["marks"], tool::parsed(R"(["this", "standby", "stands in for node-1"])"));
    EXPECT_EQ(node["lists"], tool::parsed(R"(["local", "manager"])"));
    for (const auto& [member, value] :
         std::map<std::string, std::string>{{"role", "standby"},
                                            {"domainType", "ACCESS_Backup"},
                                            {"tenancy", "core"},
                                            {"hostTag", "HOST-B"},
                                            {"maintenance", "192.0.2.12"},
                                            {"service", "198.51.100.62"},
                                            {"internalService", "198.51.100.12"}}) {
        EXPECT_EQ(node[member], value) << member;
    }
    EXPECT_EQ(node["addresses"], node["nodeList"]["addresses"]);
}

TEST(Nodes, NarrowTable_LeavesOutColumnsAndCutsNoCell) {
    const auto narrow = [](const char* format, unsigned short columns) {
        return tool::sysconfctl({"nodes", "-o", format, "--color", "never", "--env-file",
                                 tool::kWestData.envFile().string()})
            .outputToTerminal(columns)
            .run()
            .output;
    };
    EXPECT_THAT(
        narrow("table", 80),
        AllOf(HasSubstr("NODE            ROLE     TENANCY  MARKS    MAINTENANCE     SERVICE\n"),
              HasSubstr("west-access-1   master   west     master   2001:db8:2::a1  "
                        "2001:db8:2::1\n"),
              HasSubstr("\nnot shown for lack of width: INTERNAL\n")));
    EXPECT_THAT(narrow("table", 40),
                AllOf(HasSubstr("NODE            ROLE     MARKS\n"),
                      HasSubstr("INTERNAL,\nMAINTENANCE, TENANCY, SERVICE\n")));
    for (const unsigned short columns : std::initializer_list<unsigned short>{40, 80, 100}) {
        const std::string wide = narrow("wide", columns);
        for (const char* word : {"2001:db8:2:2::1024", "southbound1024", "west-collect-2"}) {
            EXPECT_THAT(wide, HasSubstr(word)) << columns;
        }
    }
    EXPECT_THAT(narrow("wide", 40), HasSubstr("\n                2001:db8:2:2::1024\n"
                                              "                  southbound1024\n"));
}

TEST(Nodes, TooLongIds_RunOverTheWidth) {
    support::Deployment deployment;
    const std::string wide = "\xe4\xb8\xad\xe6\x96\x87-and a name that is too long for a terminal";
    deployment.nodeList("{\"nodeList\": {\"" + wide + "\\u001b[31m\": {}}}");
    for (const char* format : {"table", "wide"}) {
        const auto result = tool::sysconfctl({"nodes", "-o", format, "--color", "never"})
                                .outputToTerminal(40)
                                .run();
        EXPECT_THAT(result.output, HasSubstr("\n" + wide + "\\x1b[31m"));
    }
}

} // namespace
