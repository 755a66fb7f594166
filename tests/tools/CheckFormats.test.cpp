// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

/// The text of the error has characters that are special in XML and in workflow commands.
void writeFaulty(support::Deployment& deployment) {
    deployment
        .appConfig(R"({"processes": {"p1": {"nodeId": "n", "IR": {"ip": "<a>&%\"':,\u0001"}}}})")
        .nodeList(R"({"nodeList": {"n": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]},
{"IP": "192.0.2.2", "usage": ["northbound02"]}]}}})")
        .managerNodeList(R"({"nodeList": {"n": {"IPAddresses": [{"IP": "192.0.2.1",
"usage": ["service"]}, {"IP": "192.0.2.2", "usage": ["northbound02"]}]}}})");
}

TEST(CheckFormats, Sarif_HasARuleAndAPlaceForEachResult) {
    support::Deployment deployment;
    writeFaulty(deployment);
    const auto result = tool::run({"check", "-o", "sarif"});
    EXPECT_EQ(result.exitStatus, 3);
    const Json::Value report = tool::parsed(result.output);
    EXPECT_EQ(report["version"], "2.1.0");
    const Json::Value& run = report["runs"][0];
    EXPECT_EQ(run["tool"]["driver"]["name"], "sysconfctl");
    std::set<std::string> rules;
    for (const Json::Value& rule : run["tool"]["driver"]["rules"]) {
        rules.insert(rule["id"].asString());
    }
    bool error = false;
    for (const Json::Value& one : run["results"]) {
        EXPECT_TRUE(rules.contains(one["ruleId"].asString())) << one;
        const Json::Value& place = one["locations"][0]["physicalLocation"];
        EXPECT_THAT(place["artifactLocation"]["uri"].asString(), HasSubstr(".json"));
        EXPECT_GE(place["region"]["startLine"].asInt(), 1);
        error = error || (one["level"] == "error" && one["ruleId"] == "hidden-character");
    }
    EXPECT_TRUE(error) << result.output;
}

TEST(CheckFormats, Junit_EscapesXml) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n", "IR": {"ip": "<a>&%\"'"}}}})");
    const auto result = tool::run({"check", "-o", "junit"});
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("&lt;a&gt;&amp;%"), HasSubstr("<failure type=\"error\""),
                      Not(HasSubstr("<a>")), HasSubstr("classname=\"not-an-address\"")));
}

TEST(CheckFormats, JunitOfAHealthyDeployment_HasOneCaseThatPasses) {
    const auto result = tool::run(tool::kMaster, {"check", "-o", "junit"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("tests=\"1\" failures=\"0\""),
                                     HasSubstr("name=\"no problem found\"")));
}

TEST(CheckFormats, Github_WritesOneCommandForEachFinding) {
    support::Deployment deployment;
    writeFaulty(deployment);
    const auto result = tool::run({"check", "-o", "github"});
    for (const std::string& line : tool::linesOf(result.output)) {
        EXPECT_THAT(line, testing::MatchesRegex("::(error|warning) (file=[^:,]+,line=[0-9]+,"
                                                "col=[0-9]+,)?title=[a-z-]+::.+"));
    }
    EXPECT_THAT(result.output, AllOf(HasSubstr("::error file="), HasSubstr("::warning file="),
                                     Not(HasSubstr("::notice"))));
    EXPECT_THAT(tool::run({"check", "-o", "github", "--notes"}).output,
                HasSubstr("::notice file="));
}

TEST(CheckFormats, Notes_AreCountedAndListedOnRequest) {
    const auto brief = tool::run(tool::kWestData, {"check", "--local-address", "127.0.0.1"});
    EXPECT_THAT(tool::linesOf(brief.output), testing::SizeIs(1));
    EXPECT_THAT(brief.output, HasSubstr("; 4 notes (--notes)\n"));
    const auto all = tool::run(tool::kWestData, {"check", "--notes", "-o", "plain"});
    EXPECT_THAT(tool::linesOf(all.output), testing::SizeIs(4));
    EXPECT_EQ(all.exitStatus, 0);
}

TEST(CheckFormats, IgnoredNames_ChangeTheExitStatus) {
    support::Deployment deployment;
    writeFaulty(deployment);
    EXPECT_EQ(tool::run({"check", "--strict"}).exitStatus, 3);
    EXPECT_EQ(tool::run({"check", "--strict", "--ignore", "hidden-character"}).exitStatus, 4);
    const auto none = tool::run(
        {"check", "--strict", "--ignore", "hidden-character", "--ignore", "northbound-number"});
    EXPECT_EQ(none.exitStatus, 0) << none.output;
}

TEST(CheckFormats, UnknownIgnoredName_IsAUsageError) {
    const auto result = tool::run({"check", "--ignore", "wrong-typ"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, HasSubstr("did you mean wrong-type?"));
}

} // namespace
