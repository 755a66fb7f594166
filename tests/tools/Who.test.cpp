// SPDX-License-Identifier: Apache-2.0

#include "Golden.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

support::CommandResult runAt(int width, std::vector<std::string> arguments) {
    return tool::sysconfctl(std::move(arguments))
        .workingDirectory(tool::samplesDirectory())
        .variable("COLUMNS", std::to_string(width))
        .run();
}

std::vector<std::string> found(const std::string& word) {
    const auto result = tool::run({"who", "-o", "plain", "--local-address", "203.0.113.99", word});
    EXPECT_EQ(result.errors, "") << word;
    std::vector<std::string> lines = tool::linesOf(result.output);
    for (std::string& line : lines) {
        if (!line.starts_with("answer")) {
            line = line.substr(0, line.rfind('\t'));
        }
    }
    return lines;
}

support::Deployment smallDeployment() {
    support::Deployment deployment;
    deployment.appConfig(R"({
        "databases": {"d1": [{"type": "x", "accessHost": "2001:db8::5", "passwd": "hush-hush"}]},
        "processes": {"p1": {"nodeId": "n1", "wss": {"ip": "192.0.2.1"}}}})");
    deployment.nodeList(R"({"nodeList": {"n1": {
        "assignedToTenancy": "east", "extAttr": {"hostType": "master"}, "IPAddresses": [
            {"IP": "2001:DB8:0::5", "usage": ["Service", "northbound2"]},
            {"IP": "192.0.2.1", "usage": ["maintenance"]}, 7, {"usage": ["service"]}]}}})");
    deployment.managerNodeList(R"({"nodeList": {"n1": {}}})");
    return deployment;
}

TEST(Who, OfTheSamples_EqualsTheGoldenFile) {
    for (const char* word : {"127.0.0.1", "node-1", "service"}) {
        const std::vector<std::string> arguments = {
            "who", word, "--env-file", "ha-pair/standby.env", "--local-address", "127.0.0.1"};
        for (const int width : {80, 120, 200}) {
            const auto result = runAt(width, arguments);
            EXPECT_EQ(result.exitStatus, 0) << result.errors;
            tool::expectGoldenText(result.output, "who-" + std::string(word) + "." +
                                                      std::to_string(width) + ".txt");
        }
    }
    tool::expectGolden(tool::kStandby,
                       {"who", "198.51.100.62", "-o", "json", "--local-address", "127.0.0.1"}, 0,
                       "who-198.51.100.62.json");
}

TEST(Who, Address_IsFoundInEveryNotation) {
    const auto deployment = smallDeployment();
    EXPECT_THAT(
        found("2001:0db8::0:5"),
        ElementsAre("entry\tentry 0 of n1: 2001:DB8:0::5 [service, northbound2]",
                    "value\taccessHost of entry 0 of database d1",
                    "answer\tlocal-service-ip\t2001:DB8:0::5",
                    "answer\tlocal-north-ip\t;2001:DB8:0::5;;;",
                    "answer\tlocal-south-ip\t2001:DB8:0::5",
                    "answer\tlocal-node-ips northbound\t2 2001:DB8:0::5, service 2001:DB8:0::5",
                    "answer\tlocal-node-ips-by-tag\tservice 2001:DB8:0::5", "answer\tall-db-info\t",
                    "answer\tdb-info d1\t", "answer\tdb-access-host d1 0\t2001:db8::5"));
}

TEST(Who, Node_IsFoundWithItsRoleAndItsProcesses) {
    const auto deployment = smallDeployment();
    EXPECT_THAT(found("n1"),
                IsSupersetOf({"node\tthe entry of n1 in the node list: this",
                              "node\tthe entry of n1 in the manager node list: this",
                              "value\tnodeId of process p1", "answer\tfloat-node-id\tn1"}));
    EXPECT_THAT(found("p1"), ElementsAre("process\tthe entry of process p1"));
    EXPECT_THAT(found("d1"), Contains("database\tdatabase d1"));
    EXPECT_THAT(found("east"), Contains("value\tassignedToTenancy of n1"));
}

TEST(Who, Tag_IsFoundInAnyCaseWithTheAnswersTakenFromItsEntries) {
    const auto deployment = smallDeployment();
    EXPECT_THAT(found("SERVICE"),
                IsSupersetOf({"entry\tentry 0 of n1: 2001:DB8:0::5 [service, northbound2]",
                              "entry\tentry 3 of n1: no address [service]",
                              "answer\tlocal-service-ip\t2001:DB8:0::5"}));
    EXPECT_THAT(found("maintenance"), Not(Contains(StartsWith("answer\tlocal-service-ip"))));
}

TEST(Who, AddressOfTheHost_IsReportedFirst) {
    const auto deployment = smallDeployment();
    const auto result =
        tool::run({"who", "192.0.2.1", "--local-address", "192.0.2.1", "-o", "plain"});
    EXPECT_EQ(tool::linesOf(result.output).front(), "host\tan address of this host\t");
}

TEST(Who, Nowhere_IsNoAnswerWithANearMatch) {
    const auto deployment = smallDeployment();
    for (const auto& [word, near] : std::vector<std::pair<std::string, std::string>>{
             {"192.0.2.2", ", did you mean 192.0.2.1?"},
             {"northbund2", ", did you mean northbound2?"},
             {"maintenanc", ", did you mean maintenance?"},
             {"something-else", ""}}) {
        for (const char* format : {"table", "plain", "json"}) {
            const auto result =
                tool::run({"who", word, "-o", format, "--local-address", "203.0.113.99"});
            EXPECT_EQ(result.exitStatus, 1) << word;
            EXPECT_THAT(result.errors,
                        HasSubstr(word + " appears in no file and no answer" + near));
        }
        EXPECT_EQ(tool::run({"who", word, "--local-address", "203.0.113.99"}).output, "");
    }
}

TEST(Who, Password_IsNotSearched) {
    const auto deployment = smallDeployment();
    for (const char* reveal : {"--reveal-secrets", "--color=never"}) {
        const auto result = tool::run({"who", "hush-hush", reveal});
        EXPECT_EQ(result.exitStatus, 1) << reveal;
        EXPECT_EQ(result.output, "");
    }
    EXPECT_THAT(tool::run({"who", "d1", "-o", "json"}).output, Not(HasSubstr("hush-hush")));
    EXPECT_THAT(tool::run({"who", "d1", "--reveal-secrets"}).output, HasSubstr("hush-hush"));
}

TEST(Who, FilesThatDoNotLoad_AreReported) {
    support::Deployment deployment;
    deployment.nodeList("{");
    const auto result = tool::run({"who", "n1"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, AllOf(HasSubstr("the node list does not load"),
                                     HasSubstr("n1 appears in no file")));
    EXPECT_EQ(tool::run({"who"}).exitStatus, 2);
}

} // namespace
