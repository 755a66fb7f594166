// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

using ::testing::Each;

using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

/// Each line must be a JSON message.
std::vector<Json::Value> messagesIn(const std::string& errors) {
    std::vector<Json::Value> messages;
    for (const std::string& line : tool::linesOf(errors)) {
        const Json::Value message = tool::parsed(line);
        EXPECT_EQ(message.getMemberNames(),
                  (std::vector<std::string>{"kind", "name", "schemaVersion", "text"}))
            << line;
        EXPECT_EQ(message["schemaVersion"], 1) << line;
        EXPECT_NE(message["text"].asString(), "") << line;
        EXPECT_THAT(message["text"].asString(), Not(StartsWith("sysconfctl"))) << line;
        messages.push_back(message);
    }
    return messages;
}

std::string nameOfOnly(const std::string& errors) {
    const auto messages = messagesIn(errors);
    EXPECT_EQ(messages.size(), 1U) << errors;
    if (messages.empty()) {
        return {};
    }
    EXPECT_EQ(messages.front()["kind"], "error");
    return messages.front()["name"].asString();
}

const std::vector<std::vector<std::string>> kMisuses = {
    {"-o", "json"},
    {"frobnicate", "-o", "json"},
    {"--frobnicate", "show", "-o", "json"},
    {"show", "-ojson", "x"},
    {"show", "--output=plain", "--output=json", "x"},
    {"-o", "json", "show", "x"},
    {"show", "-o", "json", "--set", "x"},
    {"show", "-o", "json", "--env-file", "/nowhere/x.env"},
    {"show", "-o", "json", "--env-file"},
    {"get", "-o", "json"},
    {"get", "-o", "json", "bad\033[31m\"query"},
    {"get", "-o", "json", "db-type"},
    {"get", "-o", "json", "db-type", "x", "y"},
    {"get", "--list", "-o", "json", "--color", "blue"},
    {"explain", "--output", "json"},
    {"explain", "locl-port", "-o", "json"},
    {"explain", "db-type", "x", "y", "-o", "json"},
    {"check", "file", "-o", "json"},
    {"nodes", "--nodes", "-o", "json"},
    {"map", "--strict", "-o", "json"},
    {"watch", "x", "-o", "json"},
};

TEST(Diagnostics, UsageErrorsWithJson_AreJson) {
    for (const auto& arguments : kMisuses) {
        const auto result = tool::run(arguments);
        EXPECT_EQ(result.exitStatus, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
        EXPECT_EQ(nameOfOnly(result.errors), "usage") << testing::PrintToString(arguments);
        EXPECT_THAT(result.errors,
                    Each(testing::AnyOf('\n', testing::AllOf(testing::Ge(' '), testing::Le('~')))));
    }
}

TEST(Diagnostics, OtherFormats_AreSentences) {
    for (const auto& arguments :
         std::vector<std::vector<std::string>>{{"get", "x"},
                                               {"get", "x", "-o", "plain"},
                                               {"get", "x", "--", "-o", "json"},
                                               {"get", "x", "-o", "json", "--output=plain"},
                                               {"nodes", "-o", "table", "-x"}}) {
        EXPECT_THAT(tool::run(arguments).errors, MatchesRegex("sysconfctl: [^{].*\n"))
            << testing::PrintToString(arguments);
    }
}

TEST(Diagnostics, ErrorsOfCommandsWithJson_AreJsonBesideTheOutput) {
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {"d": [{"type": {}}]},
                             "processes": {"p1": {"nodeId": "n"}}})");
    deployment.nodeList(R"({"nodeList": {"n": {}}})");
    for (const auto& arguments :
         std::vector<std::vector<std::string>>{{"show"},
                                               {"get", "db-type", "d", "0"},
                                               {"explain", "db-type", "d", "0"},
                                               {"explain", "--all"}}) {
        std::vector<std::string> asked = arguments;
        asked.insert(asked.end(), {"-o", "json"});
        const auto result = tool::run(asked);
        EXPECT_EQ(result.exitStatus, 3) << testing::PrintToString(asked);
        EXPECT_EQ(tool::parsed(result.output)["schemaVersion"], 1);
        EXPECT_EQ(nameOfOnly(result.errors), "library-threw") << testing::PrintToString(asked);
    }
    for (const char* command : {"nodes", "map"}) {
        const auto result = tool::run({command, "-o", "json"});
        EXPECT_EQ(result.exitStatus, 0) << command;
        EXPECT_EQ(nameOfOnly(result.errors), "does-not-load") << command;
    }
    deployment.managerNodeList(R"({"nodeList": {}})");
    const auto result = tool::run({"nodes", "absent\033", "n", "-o", "json"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(nameOfOnly(result.errors), "no-such-node");
    EXPECT_EQ(tool::parsed(result.output)["nodes"].size(), 1U);
    EXPECT_EQ(tool::run({"check", "-o", "json"}).errors, "");
}

TEST(Diagnostics, LostOutputWithJson_IsJson) {
    for (const char* command : {"show", "check", "nodes"}) {
        const auto result = tool::sysconfctl({command, "-o", "json", "--set", "APP_ROOT=/x"})
                                .outputToFile("/dev/full")
                                .run();
        EXPECT_EQ(result.exitStatus, 70) << command;
        EXPECT_EQ(nameOfOnly(result.errors), "output") << command;
    }
}

TEST(Diagnostics, NoticesOfWatchWithJson_AreJson) {
    const support::Deployment deployment;
    auto watch = tool::sysconfctl({"watch", "-o", "json", "--set", "NO_EM_CLIENT=1"}).start();
    watch.waitForOutput("\"all-db-info\"");
    watch.signal(SIGTERM);
    const auto messages = messagesIn(watch.finish().errors);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages.front()["kind"], "notice");
    EXPECT_EQ(messages.front()["name"], "not-subscribed");
}

} // namespace
