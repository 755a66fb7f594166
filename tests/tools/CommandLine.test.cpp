// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

TEST(CommandLine, Help_HasCommandsOptionsAndExitStatus) {
    EXPECT_THAT(tool::run({"--help"}).output,
                AllOf(HasSubstr("show"), HasSubstr("get"), HasSubstr("--env-file"),
                      HasSubstr("--set"), HasSubstr("--version"), HasSubstr("Exit status"),
                      HasSubstr("no answer")));
    EXPECT_THAT(tool::run({"show", "--help"}).output,
                AllOf(HasSubstr("--env-file"), HasSubstr("--set"), HasSubstr("--output"),
                      HasSubstr("--reveal-secrets")));
    EXPECT_THAT(tool::run({"get", "--help"}).output,
                AllOf(HasSubstr("QUERY"), HasSubstr("--list"), HasSubstr("--env-file"),
                      HasSubstr("--output"), HasSubstr("--reveal-secrets")));
}

TEST(CommandLine, UnknownCommand_IsAUsageErrorWithANearMatchEvenWithHelp) {
    struct Row {
        std::vector<std::string> arguments;
        std::string message;
    };
    for (const Row& row : std::vector<Row>{
             {{"shwo", "--help"}, "unknown command shwo, did you mean show? ("},
             {{"--help", "shwo"}, "unknown command shwo, did you mean show? ("},
             {{"chekc", "-h"}, "unknown command chekc, did you mean check? ("},
             {{"nodse", "--color", "never", "--help"}, "unknown command nodse, did you mean nodes"},
             {{"frobnicate", "--help"}, "unknown command frobnicate ("},
             {{"[\033]", "--help"}, "unknown command $'[\\x1b]' ("},
             {{"", "--help"}, "unknown command '' ("},
             {{"shwo"}, "unknown command shwo, did you mean show? ("}}) {
        const auto result = tool::run(row.arguments);
        EXPECT_EQ(result.exitStatus, 2) << testing::PrintToString(row.arguments);
        EXPECT_EQ(result.output, "") << testing::PrintToString(row.arguments);
        EXPECT_THAT(result.errors, HasSubstr("sysconfctl: " + row.message));
    }
}

TEST(CommandLine, Version_IsNameAndNumber) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"--version"}, {"-V"}, {"version"}, {"--version", "show"}}) {
        EXPECT_THAT(tool::run(arguments).output,
                    MatchesRegex("sysconfctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    }
}

TEST(CommandLine, NoArguments_ListsTheCommandsAsAnError) {
    const auto result = tool::run({});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, AllOf(HasSubstr("a command is required\n"), HasSubstr("\n  show "),
                                     HasSubstr("sysconfctl help COMMAND")));
}

TEST(CommandLine, HelpCommand_PrintsWhatTheOptionPrints) {
    EXPECT_EQ(tool::run({"help"}).output, tool::run({"--help"}).output);
    for (const char* command : {"show", "get", "watch", "nodes"}) {
        EXPECT_EQ(tool::run({"help", command}).output, tool::run({command, "-h"}).output);
        EXPECT_EQ(tool::run({"--help", command}).output, tool::run({command, "-h"}).output);
    }
}

TEST(CommandLine, Options_AreAcceptedBeforeAndAfterTheCommand) {
    const std::string file = tool::kEast.envFile().string();
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"--env-file", file, "get", "local-port"},
             {"get", "--env-file", file, "local-port"},
             {"get", "local-port", "--env-file", file},
             {"--env-file=" + file, "get", "local-port"},
             {"-o", "plain", "--env-file", file, "get", "local-port"},
             {"-ojson", "--output=plain", "get", "local-port", "--env-file", file},
             {"--env-file", tool::kMaster.envFile().string(), "get", "--env-file", file,
              "local-port"}}) {
        EXPECT_EQ(tool::run(arguments).output, "32000\n") << testing::PrintToString(arguments);
    }
}

TEST(CommandLine, List_HasOneLineForEveryQueryThatFits80Columns) {
    const auto lines = tool::linesOf(tool::run({"get", "--list"}).output);
    const Json::Value list =
        tool::parsed(tool::run({"get", "--list", "-o", "json"}).output)["queries"];
    ASSERT_EQ(lines.size(), list.size());
    for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
        EXPECT_EQ(lines[i].rfind(list[i]["name"].asString(), 0), 0U) << lines[i];
        EXPECT_THAT(lines[i], HasSubstr("  " + list[i]["help"].asString()));
        EXPECT_LE(lines[i].size(), 80U) << lines[i];
    }
}

TEST(CommandLine, List_NeedsNoConfiguration) {
    EXPECT_EQ(tool::run({"--env-file", "/nowhere", "get", "--list"}).exitStatus, 0);
}

TEST(CommandLine, List_HasTheArgumentsOfAQuery) {
    const std::string list = tool::run({"get", "--list"}).output;
    EXPECT_THAT(list, HasSubstr("\ndb-type NAME INDEX "));
    EXPECT_THAT(list, HasSubstr("\nall-float-ip TAG... "));
    EXPECT_THAT(list, HasSubstr("\nlocal-node-ips-by-tag [TAG...] "));
}

} // namespace
