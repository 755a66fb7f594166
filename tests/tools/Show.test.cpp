// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

support::Deployment deploymentWithFaults() {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": []})");
    deployment.nodeList("{\n ,");
    support::setEnvironment("NO_EM_CLIENT", "1");
    return deployment;
}

TEST(Show, Verbose_HasTheOutcomeOfEachFile) {
    const support::Deployment deployment = deploymentWithFaults();
    support::setEnvironment("TOLM_ROOT", nullptr);
    EXPECT_THAT(tool::run({"show", "-v", "-o", "plain"}).output,
                EndsWith("\nload\t2\nsubscription\tswitched off\napp-config\t" +
                         deployment.appConfigPath().string() +
                         ": a value of the wrong type at /processes\nnode-list\t" +
                         deployment.nodeListPath().string() +
                         ": malformed at 2:2\nmanager-node-list\tTOLM_ROOT is not set\n"));
}

TEST(Show, VerboseInJson_HasTheLoadAsAMember) {
    const support::Deployment deployment = deploymentWithFaults();
    const Json::Value load = tool::parsed(tool::run({"show", "-v", "-o", "json"}).output)["load"];
    EXPECT_EQ(load["number"], 2);
    EXPECT_EQ(load["subscription"], "switched off");
    ASSERT_EQ(load["files"].size(), 3U);
    const Json::Value& list = load["files"][2U];
    EXPECT_EQ(list["name"], "manager-node-list");
    EXPECT_EQ(list["path"], deployment.managerNodeListPath().string());
    EXPECT_EQ(list["loaded"], false);
    EXPECT_EQ(list["outcome"], "no such file");
}

TEST(Show, VerboseOnASample_HasAllFilesLoaded) {
    const auto result = tool::run(tool::kMaster, {"show", "-v"});
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("\nThe load of this tool\n"),
                      HasSubstr("node-1/etc/app.json: loaded\n"),
                      HasSubstr("nodelist.json: loaded\n"), HasSubstr("nodelists.json: loaded\n")));
}

TEST(Show, WithoutALoadOrTheOption_HasNone) {
    EXPECT_THAT(tool::run(tool::kMaster, {"show"}).output, Not(HasSubstr("The load of this tool")));
    EXPECT_THAT(tool::run(tool::kMaster, {"show", "-v", "--local-address", "192.0.2.1"}).output,
                Not(HasSubstr("The load of this tool")));
}

} // namespace
