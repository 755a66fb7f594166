// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::string answer(std::vector<std::string> arguments) {
    return tool::run(std::move(arguments)).output;
}

std::filesystem::path envFile(const std::string& text) {
    std::filesystem::path file = support::testDirectory() / "site/process.env";
    support::writeFile(file, text);
    return file;
}

TEST(Environment, NoOption_UsesTheEnvironmentOfTheProcess) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"local": {"port": 41}}}})");
    EXPECT_EQ(answer({"get", "local-port"}), "41\n");
}

TEST(Environment, EnvFile_IsTheWholeConfiguration) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"local": {"port": 41}}}})");
    deployment.managerNodeList(R"({"nodeList": {}})");
    const std::string file = envFile("# nothing of the four\n").string();
    EXPECT_EQ(answer({"get", "local-port", "--env-file", file}), "0\n");
    EXPECT_EQ(answer({"get", "app-root", "--env-file", file}), "");
    EXPECT_EQ(tool::run({"get", "all-float-ip", "x"}).exitStatus, 0);
    EXPECT_EQ(tool::run({"get", "all-float-ip", "x", "--env-file", file}).exitStatus, 1);
}

TEST(Environment, RelativePathsOfAnEnvFile_StartAtItsFolder) {
    const std::string file = envFile("APP_CONF_FILE=conf/app.json\nAPP_ROOT=.\nTOLM_ROOT=../tolm\n"
                                     "PROCESS_INSTANCE_ID=conf/p\n")
                                 .string();
    const std::filesystem::path site = support::testDirectory() / "site";
    support::writeFile(site / "conf/app.json",
                       R"({"processes": {"conf/p": {"local": {"port": 42}}}})");
    support::writeFile(support::testDirectory() / "tolm/etc/sysconf/nodelists.json",
                       R"({"nodeList": {"n": {"IPAddresses": [{"IP": "192.0.2.9"}]}}})");
    EXPECT_EQ(answer({"get", "local-port", "--env-file", file}), "42\n");
    EXPECT_EQ(answer({"get", "app-root", "--env-file", file}), site.string() + "/.\n");
    EXPECT_EQ(answer({"get", "ip-addresses", "x", "", "--env-file", file}), "192.0.2.9\n");
}

TEST(Environment, AbsoluteAndEmptyPathsOfAnEnvFile_AreUnchanged) {
    const std::string file = envFile("APP_ROOT=/opt/app/\nTOLM_ROOT=\n").string();
    EXPECT_EQ(answer({"get", "app-root", "--env-file", file}), "/opt/app/\n");
    const std::string empty = envFile("APP_ROOT=\n").string();
    EXPECT_EQ(answer({"get", "app-root", "--env-file", empty}), "");
}

TEST(Environment, Set_OverridesTheFileAndTheLastOneWins) {
    const std::string file = envFile("APP_ROOT=/from/file\n").string();
    EXPECT_EQ(answer({"get", "app-root", "--set", "APP_ROOT=/set", "--env-file", file}), "/set\n");
    EXPECT_EQ(answer({"--set", "APP_ROOT=/a", "get", "app-root", "--set", "APP_ROOT=/b", "--set",
                      "APP_ROOT=/c=d"}),
              "/c=d\n");
    EXPECT_EQ(answer({"--set", "APP_ROOT=/a", "--set", "NO_COLOR=1", "get", "app-root"}), "/a\n");
}

TEST(Environment, Set_TakesItsValueVerbatim) {
    EXPECT_EQ(answer({"get", "app-root", "--set", "APP_ROOT=relative"}), "relative\n");
    EXPECT_EQ(answer({"get", "app-root", "--set", "APP_ROOT=\"q\" "}), "\"q\" \n");
    EXPECT_EQ(tool::run({"get", "app-root", "--set", "APP_ROOT="}).exitStatus, 1);
}

TEST(Environment, EnvFileThroughAPipe_IsReadLikeAFile) {
    const auto result = tool::sysconfctl({"get", "app-root", "--env-file", "/dev/stdin"}).run();
    EXPECT_EQ(result.exitStatus, 1); // standard input is empty: no variable, no answer
    EXPECT_EQ(result.errors, "");
}

TEST(Environment, EnvFileWithAnOddName_IsFound) {
    const std::filesystem::path odd = support::testDirectory() / "[odd]";
    support::writeFile(odd, "APP_ROOT=/odd\n");
    const auto result = tool::sysconfctl({"get", "app-root", "--env-file", "[odd]"})
                            .workingDirectory(support::testDirectory())
                            .run();
    EXPECT_EQ(result.output, "/odd\n");
}

TEST(Environment, MisspeltVariableInAnEnvFile_IsReportedButOthersAreIgnored) {
    const auto file = envFile("PATH=/bin\nHOME2=/x\nAPP_HOME=/y\nAPP_ROOT=/x\n");
    EXPECT_EQ(answer({"get", "app-root", "--env-file", file.string()}), "/x\n");
    const auto misspelt = envFile("APP_ROOT=/x\nTOML_ROOT=/my-text\n");
    const auto result = tool::run({"show", "--env-file", misspelt.string()});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, HasSubstr("process.env:2: unknown variable TOML_ROOT, did you mean "
                                         "TOLM_ROOT?\n"));
    EXPECT_THAT(result.errors, Not(HasSubstr("my-text")));
}

TEST(Environment, BadLineInAnEnvFile_IsReportedByNumberWithoutItsText) {
    const auto file = envFile("# good\nAPP_ROOT=/x\n\nmy-secret-text\n");
    const auto result = tool::run({"show", "--env-file", file.string()});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("process.env:4: expected KEY=VALUE"));
    EXPECT_THAT(result.errors, Not(HasSubstr("my-secret-text")));
}

} // namespace
