// SPDX-License-Identifier: Apache-2.0

#include "Golden.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kPassword = "hush-hush";

support::CommandResult runIn(const fs::path& folder, std::vector<std::string> arguments,
                             int width = 80) {
    return tool::sysconfctl(std::move(arguments))
        .workingDirectory(folder)
        .variable("COLUMNS", std::to_string(width))
        .run();
}

/// The copies are "before" and "after" in the test's directory.
fs::path twoCopies() {
    for (const char* name : {"before", "after"}) {
        fs::copy(tool::samplesDirectory() / "ha-pair", support::testDirectory() / name,
                 fs::copy_options::recursive);
    }
    return support::testDirectory();
}

void edit(const fs::path& file, const std::string& from, const std::string& to) {
    std::string text = tool::readFile(file);
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << file;
    support::writeFile(file, text.replace(at, from.size(), to));
}

std::vector<std::string> differing(const fs::path& folder, const std::string& a,
                                   const std::string& b) {
    const Json::Value json = tool::parsed(runIn(folder, {"diff", a, b, "-o", "json"}).output);
    std::vector<std::string> queries;
    for (const Json::Value& process : json["processes"]) {
        for (const Json::Value& difference : process["differences"]) {
            queries.push_back(difference["query"].asString());
        }
    }
    return queries;
}

TEST(Diff, OfTheSamples_EqualsTheGoldenFile) {
    const auto arguments = [](const char* format) {
        // A query whose answer contains the path of this checkout is left out.
        return std::vector<std::string>{"diff",
                                        "ha-pair/master.env",
                                        "ha-pair/standby.env",
                                        "wss-port",
                                        "float-node-id",
                                        "local-service-ip",
                                        "local-north-ip",
                                        "local-node-ips northbound",
                                        "--local-address",
                                        "192.0.2.12",
                                        "-o",
                                        format};
    };
    for (const int width : {80, 120, 200}) {
        const auto result = runIn(tool::samplesDirectory(), arguments("table"), width);
        EXPECT_EQ(result.exitStatus, 1) << result.errors;
        tool::expectGoldenText(result.output, "diff-ha-pair." + std::to_string(width) + ".txt");
    }
    tool::expectGoldenText(runIn(tool::samplesDirectory(), arguments("plain")).output,
                           "diff-ha-pair.plain.txt");
}

TEST(Diff, SameEnvironmentTwice_HasNoDifference) {
    for (const char* format : {"table", "plain", "json"}) {
        const auto result = runIn(tool::samplesDirectory(), {"diff", "ha-pair/master.env",
                                                             "ha-pair/master.env", "-o", format});
        EXPECT_EQ(result.exitStatus, 0) << format;
        EXPECT_EQ(result.errors, "");
    }
    EXPECT_EQ(differing(tool::samplesDirectory(), "two-tenancies", "two-tenancies"),
              std::vector<std::string>());
}

TEST(Diff, ReasonOfEachSide_IsTheOneOfExplain) {
    const Json::Value json = tool::parsed(
        runIn(tool::samplesDirectory(), {"diff", "ha-pair/master.env", "ha-pair/standby.env", "-o",
                                         "json", "--local-address", "127.0.0.1"})
            .output);
    ASSERT_GT(json["processes"][0]["differences"].size(), 5U);
    for (const Json::Value& difference : json["processes"][0]["differences"]) {
        for (const auto& [side, view] :
             {std::pair("a", tool::kMaster), std::pair("b", tool::kStandby)}) {
            const Json::Value explained =
                tool::parsed(tool::run(view, {"explain", difference["query"].asString(), "-o",
                                              "json", "--local-address", "127.0.0.1"})
                                 .output)["explanations"][0];
            for (const char* member : {"value", "verdict", "reason"}) {
                EXPECT_EQ(difference[side][member], explained[member]) << difference;
            }
            for (const Json::Value& step : explained["steps"]) {
                if (step["decides"].asBool() && step.isMember("line")) {
                    EXPECT_EQ(difference[side]["file"], step["file"]);
                    EXPECT_EQ(difference[side]["line"], step["line"]) << difference;
                    EXPECT_EQ(difference[side]["pointer"], step["pointer"]);
                }
            }
        }
    }
}

TEST(Diff, OfTwoDirectories_ComparesEachProcessWithItsCounterpart) {
    const fs::path folder = twoCopies();
    edit(folder / "after/node-2/etc/app.json", "31543", "31544");
    const Json::Value json =
        tool::parsed(runIn(folder, {"diff", "before", "after", "-o", "json"}).output);
    ASSERT_EQ(json["processes"].size(), 2U);
    EXPECT_EQ(json["processes"][0]["process"], "node-1/etc/app.json alarm-1");
    EXPECT_EQ(json["processes"][0]["differences"].size(), 0U);
    EXPECT_TRUE(json["processes"][0]["sameFiles"].asBool());
    EXPECT_FALSE(json["processes"][1]["sameFiles"].asBool());
    EXPECT_EQ(json["processes"][1]["process"], "node-2/etc/app.json alarm-1");
    ASSERT_EQ(json["processes"][1]["differences"].size(), 1U);
    const Json::Value& difference = json["processes"][1]["differences"][0];
    EXPECT_EQ(difference["query"], "wss-port");
    EXPECT_EQ(difference["a"]["value"], 31543);
    EXPECT_EQ(difference["b"]["value"], 31544);
    EXPECT_EQ(difference["b"]["line"], 21);
    EXPECT_FALSE(json["same"].asBool());
    const auto table = runIn(folder, {"diff", "before", "after"});
    EXPECT_THAT(table.output,
                AllOf(HasSubstr("process node-2/etc/app.json alarm-1\n"), HasSubstr("  - 31543\n"),
                      HasSubstr("  + 31544\n"), Not(HasSubstr("node-1"))));
}

TEST(Diff, NodeListThatProcessesShare_IsComparedForEach) {
    const fs::path folder = twoCopies();
    edit(folder / "after/manager/etc/sysconf/nodelists.json", "198.51.100.62", "198.51.100.63");
    const Json::Value json = tool::parsed(
        runIn(folder, {"diff", "before", "after", "all-float-ip", "-o", "json"}).output);
    ASSERT_EQ(json["processes"].size(), 2U);
    for (const Json::Value& process : json["processes"]) {
        EXPECT_FALSE(process["sameFiles"].asBool());
        EXPECT_EQ(process["differences"].size(), 1U) << process["process"];
    }
}

TEST(Diff, DirectoriesOfTwoNodes_AreComparedByThePathsInThem) {
    EXPECT_THAT(differing(tool::samplesDirectory() / "ha-pair", "node-1", "node-2"),
                testing::IsSupersetOf({"wss-port", "local-maintenance-ip"}));
}

TEST(Diff, ProcessThatOneDirectoryLacks_IsADifference) {
    const fs::path folder = twoCopies();
    edit(folder / "after/node-2/etc/app.json", "\"alarm-1\"", "\"alarm-2\"");
    edit(folder / "after/standby.env", "=alarm-1", "=alarm-2");
    const auto table = runIn(folder, {"diff", "before", "after"});
    EXPECT_EQ(table.exitStatus, 1);
    EXPECT_THAT(table.output,
                AllOf(HasSubstr("process node-2/etc/app.json alarm-1: only in before\n"),
                      HasSubstr("process node-2/etc/app.json alarm-2: only in after\n"),
                      HasSubstr("2 processes only on one side")));
    EXPECT_THAT(tool::linesOf(runIn(folder, {"diff", "before", "after", "-o", "plain"}).output),
                ElementsAre("-\tnode-2/etc/app.json alarm-1\t\t\tonly in before\t",
                            "+\tnode-2/etc/app.json alarm-2\t\t\tonly in after\t"));
}

TEST(Diff, SecretsThatDiffer_AreReportedWithoutTheirValues) {
    const fs::path folder = twoCopies();
    edit(folder / "before/node-1/etc/app.json", "sample-password-1", "hush-hush-1");
    edit(folder / "after/node-1/etc/app.json", "sample-password-1", "hush-hush-2");
    for (const char* format : {"table", "plain", "json"}) {
        const auto result =
            runIn(folder, {"diff", "before/master.env", "after/master.env", "-o", format});
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_THAT(result.output, AllOf(Not(HasSubstr(kPassword)), HasSubstr("db-password")));
    }
    const Json::Value json = tool::parsed(
        runIn(folder, {"diff", "before", "after", "db-password", "-o", "json"}).output);
    const Json::Value& difference = json["processes"][0]["differences"][0];
    EXPECT_TRUE(difference["secret"].asBool());
    EXPECT_EQ(difference["a"]["value"], difference["b"]["value"]);
    EXPECT_THAT(runIn(folder, {"diff", "before", "after", "db-info"}).output,
                HasSubstr("the secrets differ"));
    EXPECT_THAT(runIn(folder, {"diff", "before", "after", "db-info", "--reveal-secrets"}).output,
                AllOf(HasSubstr("- 0.passwd: \"hush-hush-1\"\n"),
                      HasSubstr("+ 0.passwd: \"hush-hush-2\"\n"), Not(HasSubstr("differ;"))));
}

TEST(Diff, JsonThatDiffers_IsShownValueByValue) {
    const fs::path folder = twoCopies();
    edit(folder / "after/node-1/etc/app.json", "\"accessPort\": 5432,", "\"more\": [1],");
    const auto result = runIn(folder, {"diff", "before", "after", "db-info alarms"});
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("  - 0.accessPort: 5432\n    0.more: (absent)\n"),
                      HasSubstr("  + 0.accessPort: (absent)\n    0.more: \"********\"\n")));
}

TEST(Diff, QueriesThatAreNamed_AreTheOnlyOnesCompared) {
    const fs::path folder = tool::samplesDirectory() / "two-tenancies";
    const auto queries = [&](std::vector<std::string> words) {
        words.insert(words.begin(),
                     {"diff", "east-access-1.env", "west-access-1.env", "-o", "json"});
        return tool::parsed(runIn(folder, words).output)["processes"][0]["answers"].asInt();
    };
    EXPECT_EQ(queries({"local-port"}), 1);
    EXPECT_EQ(queries({"local-port", "db-type inventory 0"}), 2);
    EXPECT_EQ(queries({"db-type"}), 4);
    EXPECT_EQ(queries({"local-ip-by-usage 'internal_service'"}), 1);
    EXPECT_EQ(
        runIn(folder, {"diff", "east-access-1.env", "west-access-1.env", "local-port"}).exitStatus,
        0);
}

TEST(Diff, DatabaseThatOneSideLacks_IsQueriedOnBoth) {
    const fs::path folder = twoCopies();
    edit(folder / "after/node-1/etc/app.json", "\"alarms\": [", "\"events\": [");
    const auto result = runIn(folder, {"diff", "before/master.env", "after/master.env", "db-type"});
    EXPECT_THAT(result.output, AllOf(HasSubstr("db-type alarms 0\n  - postgresql\n"),
                                     HasSubstr("  + (no answer)\n    there is no database alarms"),
                                     HasSubstr("db-type events 0\n  - (no answer)\n")));
}

TEST(Diff, ExceptionOnBothSides_IsNoDifference) {
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {"d": {}}, "processes": {"p1": {}}})");
    support::writeFile(support::testDirectory() / "a.env",
                       "APP_CONF_FILE=" + deployment.appConfigPath().string() + "\n");
    const auto result = runIn(support::testDirectory(), {"diff", "a.env", "a.env"});
    EXPECT_EQ(result.exitStatus, 0) << result.output;
}

TEST(Diff, InvalidOperands_AreUsageErrors) {
    const fs::path folder = twoCopies();
    fs::create_directory(folder / "empty");
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
        {{"diff"}, "diff takes two environments: env files, directories or --pid"},
        {{"diff", "before"}, "diff takes two environments"},
        {{"diff", "before", "nowhere"}, "nowhere: No such file or directory"},
        {{"diff", "before", "empty"}, "nothing to check in empty"},
        {{"diff", "before", "after", "locl-port"}, "unknown query locl-port, did you mean"},
        {{"diff", "before", "after", ""}, "unknown query ''"},
        {{"diff", "before", "after", "db-type alarms"}, "db-type takes other arguments"},
        {{"diff", "before", "after/master.env"},
         "after/master.env is one process, alarm-1, and "
         "before has 2 of that name"},
        {{"diff", "before", "after", "--env-file", "before/master.env"}, "takes no --env-file"},
    };
    for (const auto& [arguments, message] : rows) {
        const auto result = runIn(folder, arguments);
        EXPECT_EQ(result.exitStatus, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, HasSubstr(message));
    }
}

} // namespace
