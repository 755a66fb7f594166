// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

/// Every character that a shell or systemd might take for something else.
constexpr const char* kHostile = " it's \"$HOME\" `id` \\n \\ $(id) ${x} #!*?[a]~&;|<>\t\n end\\";

support::Deployment hostileDeployment() {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n"}}})");
    Json::Value list;
    Json::Value& entry = list["nodeList"]["n"]["IPAddresses"][0U];
    entry["IP"] = kHostile;
    entry["usage"].append("service");
    Json::StreamWriterBuilder builder;
    deployment.nodeList(Json::writeString(builder, list));
    return deployment;
}

TEST(GetVariables, ForAShell_SetOrUnsetEachName) {
    const auto result = tool::run(
        tool::kMaster, {"get", "--shell", "local-service-ip", "local-service2-ip", "getCorbaPort"});
    EXPECT_EQ(result.output, "SYSCONF_LOCAL_SERVICE_IP='127.0.0.1'\n"
                             "unset SYSCONF_LOCAL_SERVICE2_IP\n"
                             "SYSCONF_CORBA_PORT='31500'\n");
    EXPECT_EQ(result.exitStatus, 1) << "one of those named has no answer";
}

TEST(GetVariables, ForSystemd_HaveNoLineWithoutAnswer) {
    const auto result =
        tool::run(tool::kMaster, {"get", "--systemd", "local-service-ip", "local-service2-ip"});
    EXPECT_EQ(result.output, "SYSCONF_LOCAL_SERVICE_IP=\"127.0.0.1\"\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST(GetVariables, ForSystemd_HaveNoLineThatWouldSpoilTheFile) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n"}}})");
    deployment.nodeList("{\"nodeList\": {\"n\": {\"IPAddresses\": ["
                        "{\"IP\": \"a\xff\", \"usage\": [\"service\"]},"
                        "{\"IP\": \"b\", \"usage\": [\"service2\"]}]}}}");
    const auto result = tool::run({"get", "--systemd", "local-service-ip", "local-service2-ip"});
    EXPECT_EQ(result.output, "SYSCONF_LOCAL_SERVICE2_IP=\"b\"\n");
    EXPECT_EQ(result.errors,
              "sysconfctl: SYSCONF_LOCAL_SERVICE_IP is not UTF-8, so it has no line: "
              "systemd would ignore the file\n");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(tool::run({"get", "--shell", "local-service-ip"}).output,
              "SYSCONF_LOCAL_SERVICE_IP='a\xff'\n");
}

TEST(GetVariables, WithoutNames_AreAllOfExec) {
    for (const char* form : {"--shell", "--systemd"}) {
        const auto result = tool::run(tool::kMaster, {"get", form});
        EXPECT_EQ(result.exitStatus, 0) << "although some have no answer";
        EXPECT_THAT(result.output,
                    AllOf(HasSubstr("SYSCONF_PRODUCT_NAME="), HasSubstr("SYSCONF_LOCAL_PORT="),
                          HasSubstr("SYSCONF_LOCAL_NODE_IPS_BY_TAG="),
                          Not(HasSubstr("SYSCONF_ALL_DB_INFO="))));
        EXPECT_THAT(tool::run(tool::kMaster, {"get", form, "--reveal-secrets"}).output,
                    HasSubstr("SYSCONF_ALL_DB_INFO="));
    }
}

TEST(GetVariables, OnAHostWithOtherAddresses_ArePredicted) {
    const auto result = tool::run(
        tool::kStandby, {"get", "--shell", "float-node-id", "--local-address", "192.0.2.12"});
    EXPECT_EQ(result.output, "SYSCONF_FLOAT_NODE_ID='node-2'\n");
}

TEST(GetVariables, Misuse_IsAUsageErrorWithoutOutput) {
    for (const auto& arguments :
         std::vector<std::vector<std::string>>{{"get", "--shell", "db-type", "alarms", "0"},
                                               {"get", "--shell", "all-db-info"},
                                               {"get", "--shell", "--systemd"},
                                               {"get", "--shell", "--list"},
                                               {"get", "--shell", "-o", "json"}}) {
        const auto result = tool::run(tool::kMaster, arguments);
        EXPECT_EQ(result.exitStatus, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "");
    }
}

TEST(GetVariables, OnATerminal_AreEscaped) {
    support::Deployment deployment = hostileDeployment();
    deployment.nodeList(R"({"nodeList": {"n": {"IPAddresses": [
        {"IP": "\u001b[31m", "usage": ["service"]}]}}})");
    const auto result =
        tool::sysconfctl({"get", "--shell", "local-service-ip"}).outputToTerminal(80).run();
    EXPECT_THAT(result.output, HasSubstr("SYSCONF_LOCAL_SERVICE_IP='\\x1b[31m'"));
}

TEST(GetVariables, EveryShell_GetsTheExactAnswer) {
    const auto deployment = hostileDeployment();
    std::size_t shells = 0;
    for (const char* shell : {"/bin/dash", "/bin/bash", "/usr/bin/zsh", "/bin/busybox",
                              "/usr/bin/mksh", "/usr/bin/ksh93", "/usr/bin/yash"}) {
        if (!fs::exists(shell)) {
            continue;
        }
        ++shells;
        std::vector<std::string> words = {
            "-c", "SYSCONF_LOCAL_SERVICE2_IP=old; set -u; "
                  "eval \"$(" SYSCONFCTL " get --shell local-service-ip local-service2-ip)\"; "
                  "printf %s \"$SYSCONF_LOCAL_SERVICE_IP${SYSCONF_LOCAL_SERVICE2_IP-(unset)}\""};
        if (std::string(shell) == "/bin/busybox") {
            words.insert(words.begin(), "sh");
        }
        const auto result = support::Command(shell, words).run();
        EXPECT_EQ(result.output, std::string(kHostile) + "(unset)") << shell;
        EXPECT_EQ(result.errors, "") << shell;
    }
    EXPECT_GE(shells, 2U);
}

/// systemd's parser of environment files also reads os-release; systemd-tmpfiles writes one of its
/// values to a file.
TEST(GetVariables, Systemd_GetsTheExactAnswer) {
    const fs::path program = "/usr/bin/systemd-tmpfiles";
    if (!fs::exists(program)) {
        GTEST_SKIP() << "systemd is not installed";
    }
    const auto deployment = hostileDeployment();
    std::string line = tool::run({"get", "--systemd", "local-service-ip"}).output;
    line.replace(0, line.find('='), "VARIANT_ID");
    const fs::path root = support::testDirectory() / "root";
    support::writeFile(root / "etc/os-release", line);
    support::writeFile(root / "etc/tmpfiles.d/answer.conf", "f /answer - - - - %W\n");
    const auto result =
        support::Command(program, {"--create", "--root=" + root.string(), "answer.conf"}).run();
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(tool::readFile(root / "answer"), kHostile);
}

} // namespace
