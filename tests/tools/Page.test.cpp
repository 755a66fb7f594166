// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(Page, Places_AreAbsolute) {
    const auto result = tool::sysconfctl({"report", "--set", "APP_CONF_FILE=node-2/etc/app.json",
                                          "--set", "PROCESS_INSTANCE_ID=alarm-1"})
                            .workingDirectory(tool::samplesDirectory() / "ha-pair")
                            .run();
    const std::string place =
        "<code>" + (tool::samplesDirectory() / "ha-pair/node-2/etc/app.json").string() + ":21:44<";
    EXPECT_THAT(result.output, HasSubstr("wss.port of process alarm-1 is 31543<br>" + place));
}

TEST(Page, WithoutAFile_GoesToStandardOutput) {
    const auto result = tool::run(tool::kStandby, {"report"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, AllOf(StartsWith("<!DOCTYPE html>"), HasSubstr("</html>\n")));
}

TEST(Page, File_IsWrittenInPlaceOfWhatWasThere) {
    const fs::path file = support::testDirectory() / "page.html";
    support::writeFile(file, std::string(1'000'000, 'x'));
    const auto result = tool::sysconfctl({"report", "-o", "page.html", "--env-file",
                                          tool::kStandby.envFile().string()})
                            .workingDirectory(support::testDirectory())
                            .run();
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.output, "");
    const std::string page = tool::readFile(file);
    EXPECT_THAT(page, AllOf(StartsWith("<!DOCTYPE html>"), Not(HasSubstr("xxxx"))));
    EXPECT_TRUE(page.ends_with("</html>\n"));
}

TEST(Page, FileThatCannotBeWritten_Is70WithItsName) {
    for (const auto& [file, why] : std::vector<std::pair<std::string, std::string>>{
             {"/nowhere/page.html", "No such file or directory"},
             {"/dev/full", "No space left on device"},
             {"/", "Is a directory"}}) {
        const auto result = tool::run(tool::kStandby, {"report", "-o", file});
        EXPECT_EQ(result.exitStatus, 70) << file;
        EXPECT_THAT(result.errors, HasSubstr("cannot write " + file + ": " + why));
    }
}

TEST(Page, WithoutGraphviz_SaysWhyThereIsNoPicture) {
    const auto result =
        tool::sysconfctl({"report", "--env-file", tool::kStandby.envFile().string()})
            .variable("PATH", support::testDirectory().string())
            .run();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, AllOf(HasSubstr("<p>no picture: it needs Graphviz's dot, which is "
                                               "not installed"),
                                     Not(HasSubstr("<svg")), HasSubstr("node-1")));
}

TEST(Page, LargeDeployment_HasAllNodesButNoPicture) {
    std::string nodes;
    for (int i = 0; i < 201; ++i) {
        nodes += (i == 0 ? "\"n" : ", \"n") + std::to_string(i) + "\": {}";
    }
    support::Deployment deployment;
    deployment.managerNodeList("{\"nodeList\": {" + nodes + "}}");
    const auto result = tool::run({"report"});
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("no picture: 201 nodes are too many"), HasSubstr(">n200</th>")));
}

TEST(Page, FilesThatDoNotLoad_AreReportedAndInThePage) {
    support::Deployment deployment;
    deployment.nodeList("{\"nodeList\": {,}}");
    const auto result = tool::run({"report"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.errors, HasSubstr("the node list does not load"));
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("does not load: "), HasSubstr("<li class=\"error\">"),
                      HasSubstr("no picture: there is no node")));
}

TEST(Page, Passwords_AreMaskedUnlessRevealed) {
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {"d": [{"passwd": "hush-hush", "accessPort": "x"}]},
        "processes": {"p1": {}}})");
    EXPECT_THAT(tool::run({"report"}).output,
                AllOf(Not(HasSubstr("hush-hush")), HasSubstr("********")));
    EXPECT_THAT(tool::run({"report", "--reveal-secrets"}).output, HasSubstr("hush-hush"));
}

TEST(Page, TextsOfTheFiles_AreEscapedOnce) {
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {"<i>": [{"type": "<b>&\"'\u001b\\"}]},
        "processes": {"p1": {"nodeId": "<n>", "wss": {"ip": "a\u202eb"}}}})");
    deployment.nodeList(R"({"nodeList": {"<n>": {"IPAddresses": [{"IP": "<ip>",
        "usage": ["<tag>"]}]}}})");
    const std::string page = tool::run({"report"}).output;
    EXPECT_THAT(page, AllOf(HasSubstr("&lt;b&gt;&amp;&quot;'\\x1b\\\\<"), HasSubstr("a\\u202eb"),
                            HasSubstr("<code>&lt;ip&gt;</code> &lt;tag&gt;")));
    for (const char* raw : {"<b>&", "<n>", "<ip>", "<tag>", "<i>", "\033", "&amp;lt;", "\\\\x1b"}) {
        EXPECT_THAT(page, Not(HasSubstr(raw))) << raw;
    }
}

} // namespace
