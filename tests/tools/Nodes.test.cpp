// SPDX-License-Identifier: Apache-2.0
// Tables of the nodes of both lists.

#include "Golden.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Le;
using ::testing::Not;
using ::testing::SizeIs;

TEST(Nodes, OfTheSamples_LookAsWrittenDown) {
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
                AllOf(HasSubstr("nodelist.json:1:15: a member's name should stand here"),
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

TEST(Nodes, Table_IsNoWiderThanTheTerminalWhateverTheIdsAre) {
    support::Deployment deployment;
    const std::string wide =
        "\xe4\xb8\xad\xe6\x96\x87-and-a-name-that-is-far-too-long-for-any-column"
        "-of-a-table-on-a-narrow-terminal\\u001b[31m";
    deployment.nodeList("{\"nodeList\": {\"" + wide + "\": {\"assignedToTenancy\": \"" + wide +
                        "\", \"IPAddresses\": [{\"IP\": \"2001:db8::1\", \"usage\": [\"" + wide +
                        "\"]}]}}}");
    for (const unsigned short columns : std::initializer_list<unsigned short>{40, 80, 132}) {
        for (const char* format : {"table", "wide"}) {
            const auto result = tool::sysconfctl({"nodes", "-o", format, "--env-file",
                                                  tool::kEast.envFile().string()})
                                    .outputToTerminal(columns)
                                    .variable("NO_COLOR", "1")
                                    .run();
            EXPECT_THAT(tool::linesOf(result.output), Each(SizeIs(Le(columns)))) << format;
            const auto hostile = tool::sysconfctl({"nodes", "-o", format, "--color", "never"})
                                     .outputToTerminal(columns)
                                     .run();
            EXPECT_THAT(hostile.output, AllOf(Not(HasSubstr("\033")), HasSubstr("\xe4\xb8\xad")));
        }
    }
}

} // namespace
