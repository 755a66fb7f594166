// SPDX-License-Identifier: Apache-2.0

#include "Golden.h"

#include <gtest/gtest.h>

namespace {

using tool::View;

TEST(Samples, EveryView_GivesTheExpectedAnswers) {
    for (const View& view : tool::views()) {
        tool::expectGolden(view, {"show", "-o", "plain"}, 0,
                           view.deployment + "-" + view.name + ".txt");
    }
}

TEST(Samples, JsonAndTable_EqualTheGoldenFiles) {
    tool::expectGolden(tool::kStandby, {"show", "-o", "json"}, 0, "ha-pair-standby.json");
    tool::expectGolden(tool::kEast, {"show", "-o", "json"}, 0, "two-tenancies-east-access-1.json");
    tool::expectGolden(tool::kEast, {"show"}, 0, "two-tenancies-east-access-1.table.txt");
}

TEST(Samples, Views_AreThePairFromBothSidesAndBothTenancies) {
    std::vector<std::string> names;
    for (const View& view : tool::views()) {
        names.push_back(view.deployment + "/" + view.name);
    }
    const std::vector<std::string> expected = {
        "ha-pair/master", "ha-pair/standby", "two-tenancies/east-access-1",
        "two-tenancies/west-access-1", "two-tenancies/west-data-2"};
    EXPECT_EQ(names, expected);
}

TEST(Samples, AnyWorkingDirectory_SameAnswers) {
    const auto fromHere = tool::run(tool::kStandby, {"show"});
    const auto fromRoot =
        tool::sysconfctl({"show", "--env-file", tool::kStandby.envFile().string()})
            .workingDirectory("/")
            .run();
    const auto byRelativePath = tool::sysconfctl({"show", "--env-file", "ha-pair/standby.env"})
                                    .workingDirectory(tool::samplesDirectory())
                                    .run();
    EXPECT_EQ(fromHere.exitStatus, 0);
    EXPECT_EQ(fromRoot.output, fromHere.output);
    EXPECT_EQ(byRelativePath.output, fromHere.output);
}

TEST(Samples, TableOfTheStandbyAt80Columns_EqualsTheGoldenFile) {
    const auto result =
        tool::sysconfctl({"show", "--env-file", "standby.env", "--set", "APP_ROOT=node-2"})
            .workingDirectory(tool::samplesDirectory() / "ha-pair")
            .variable("COLUMNS", "80")
            .run();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, tool::readFile(tool::sourceDirectory() /
                                            "tests/tools/golden/ha-pair-standby.table.txt"));
}

TEST(Samples, JsonOfEveryView_HasTheSameAnswersAsGetAsJson) {
    for (const View& view : {tool::kStandby, tool::kWestData}) {
        const Json::Value shown =
            tool::parsed(tool::run(view, {"show", "-o", "json", "--reveal-secrets"}).output);
        EXPECT_EQ(shown["schemaVersion"], 1);
        ASSERT_GT(shown["answers"].size(), 0U);
        for (const Json::Value& answer : shown["answers"]) {
            std::vector<std::string> arguments = {"get", "-o", "json", "--reveal-secrets",
                                                  answer["query"].asString()};
            for (const Json::Value& argument : answer["arguments"]) {
                arguments.push_back(argument.asString());
            }
            const auto result = tool::run(view, arguments);
            Json::Value got = tool::parsed(result.output);
            EXPECT_EQ(got["schemaVersion"], 1);
            got.removeMember("schemaVersion");
            EXPECT_EQ(got, answer);
            EXPECT_EQ(result.exitStatus, answer["answered"].asBool() ? 0 : 1) << answer;
        }
    }
}

} // namespace
