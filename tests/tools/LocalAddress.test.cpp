// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

std::string get(const tool::View& view, std::vector<std::string> query,
                const std::vector<std::string>& addresses) {
    query.insert(query.begin(), "get");
    for (const std::string& address : addresses) {
        query.insert(query.end(), {"--local-address", address});
    }
    return tool::run(view, std::move(query)).output;
}

TEST(LocalAddress, OfTheMaster_MakesTheStandbyAnswerForIt) {
    EXPECT_EQ(get(tool::kStandby, {"float-node-id"}, {"192.0.2.12"}), "node-2\n");
    EXPECT_EQ(get(tool::kStandby, {"float-node-id"}, {"192.0.2.12", "127.0.0.1"}), "node-1\n");
    EXPECT_EQ(get(tool::kStandby, {"source-node-id"}, {"127.0.0.1"}), "node-1\n");
    EXPECT_EQ(get(tool::kStandby, {"local-service-ip"}, {"192.0.2.12"}), "198.51.100.62\n");
    EXPECT_EQ(get(tool::kStandby, {"local-host-tag-name"}, {"127.0.0.1"}), "HOST-A\n");
}

TEST(LocalAddress, ThatNoNodeHas_IsNoAnswer) {
    const auto result =
        tool::run(tool::kStandby, {"get", "source-node-id", "--local-address", "203.0.113.99"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "");
}

TEST(LocalAddress, OfTheHostItself_ChangesNoAnswer) {
    // The samples use 127.0.0.1, which every host has.
    for (const tool::View& view : tool::views()) {
        for (const char* format : {"table", "plain", "json"}) {
            EXPECT_EQ(
                tool::run(view, {"show", "-o", format}).output,
                tool::run(view, {"show", "-o", format, "--local-address", "127.0.0.1"}).output)
                << view.name;
        }
    }
}

TEST(LocalAddress, InAnExplanation_IsNamedAndNotComparedWithTheLibrary) {
    const std::vector<std::string> query = {"explain", "float-node-id", "--local-address",
                                            "192.0.2.12"};
    EXPECT_THAT(tool::run(tool::kStandby, query).output,
                AllOf(HasSubstr("predicted for a host with 192.0.2.12\n"),
                      HasSubstr("\n  node-2\n"),
                      HasSubstr("this host carries the service address of no other node")));
    std::vector<std::string> asJson = query;
    asJson.insert(asJson.end(), {"-o", "json"});
    const Json::Value one =
        tool::parsed(tool::run(tool::kStandby, asJson).output)["explanations"][0];
    EXPECT_EQ(one["value"], "node-2");
    EXPECT_FALSE(one.isMember("agrees"));
    EXPECT_EQ(one["localAddresses"][0], "192.0.2.12");
}

TEST(LocalAddress, OfIPv6_IsComparedInTheFormThatTheHostLists) {
    const Json::Value one =
        tool::parsed(tool::run(tool::kStandby, {"explain", "float-node-id", "-o", "json",
                                                "--local-address", "2001:DB8:0:0::1"})
                         .output)["explanations"][0];
    EXPECT_EQ(one["localAddresses"][0], "2001:db8::1");
}

TEST(LocalAddress, Malformed_IsAUsageError) {
    for (const char* address : {"", "node-1", "192.0.2", "192.0.2.256", "192.0.2.1/24", "::g"}) {
        for (const std::vector<std::string>& command :
             std::vector<std::vector<std::string>>{{"get", "local-port"},
                                                   {"show"},
                                                   {"explain", "local-port"},
                                                   {"check"},
                                                   {"nodes"},
                                                   {"map"}}) {
            std::vector<std::string> arguments = command;
            arguments.insert(arguments.end(), {"--local-address", address});
            const auto result = tool::run(tool::kMaster, arguments);
            EXPECT_EQ(result.exitStatus, 2) << command[0] << ' ' << address;
            EXPECT_THAT(result.errors, HasSubstr("is not an IPv4 or IPv6 address")) << address;
        }
    }
    EXPECT_THAT(tool::run({"show", "--local-address", "fe80::1%eth0"}).errors,
                HasSubstr("host addresses have no scope"));
}

TEST(LocalAddress, Passwords_StayMasked) {
    EXPECT_EQ(get(tool::kMaster, {"db-password", "alarms", "0"}, {"127.0.0.1"}), "");
}

TEST(LocalAddress, ExceptionOfTheLibrary_IsPredicted) {
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {"d": {}}, "processes": {"p1": {}}})");
    const auto asked = tool::run({"get", "db-type", "d", "0"});
    const auto predicted = tool::run({"get", "db-type", "d", "0", "--local-address", "192.0.2.1"});
    EXPECT_EQ(predicted.exitStatus, 3);
    EXPECT_EQ(predicted.exitStatus, asked.exitStatus);
    EXPECT_EQ(predicted.errors, asked.errors);
}

} // namespace
