// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <regex>

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Le;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

MATCHER_P(NoWiderThan, columns, "") {
    return tool::fits(arg, columns);
}

std::vector<std::vector<std::string>> everyCommand() {
    const std::vector<std::string> usual = {"table", "plain", "json"};
    const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> writers = {
        {{"show"}, usual},
        {{"get", "local-port"}, usual},
        {{"get", "--list"}, usual},
        {{"watch"}, usual},
        {{"explain", "local-north-ip"}, usual},
        {{"explain", "--all"}, usual},
        {{"check"}, {"table", "json"}}, // without findings, plain output is empty
        {{"who", "service"}, usual},
        {{"nodes"}, {"table", "wide", "name", "plain", "json"}},
        {{"map"}, {"dot", "mermaid", "svg", "table", "plain", "json"}},
    };
    std::vector<std::vector<std::string>> commands = {
        {"--help"}, {"show", "--help"}, {"--version"}};
    for (const auto& [command, formats] : writers) {
        for (const std::string& format : formats) {
            commands.push_back(command);
            commands.back().insert(commands.back().end(),
                                   {"-o", format, "--env-file", tool::kEast.envFile().string()});
        }
    }
    return commands;
}

const std::vector<std::vector<std::string>> kTables = {
    {"show"},
    {"get", "all-float-ip", "service", "-o", "table"},
    {"explain", "local-north-ip"},
    {"explain", "--all"},
    {"check"},
    {"who", "service"},
    {"nodes"},
    {"nodes", "-o", "wide"},
    {"map", "-o", "table"},
};

support::Deployment hostileDeployment() {
    support::Deployment deployment;
    deployment.appConfig(R"({
        "databases": {"d\u001b[31m": [{"user": "u\u001b]0;x\u0007"}]},
        "processes": {"p1": {"nodeId": "n", "wss": {"ip": "\u001b[2J\u0085\u202e\n"}}}})");
    deployment.nodeList(R"({"nodeList": {"n": {"assignedToTenancy": "t\u001b[0m"}}})");
    deployment.managerNodeList(R"({"nodeList": {"m\u001b[1m\u007f": {"IPAddresses": [
        {"IP": "a\u001b\nb", "usage": ["service"]}], "assignedToTenancy": "t\u001b[0m"}}})");
    return deployment;
}

TEST(Output, FullDisk_ExitsWith70AndAMessage) {
    for (const auto& arguments : everyCommand()) {
        const auto result = tool::sysconfctl(arguments).outputToFile("/dev/full").run();
        EXPECT_EQ(result.exitStatus, 70) << testing::PrintToString(arguments);
        EXPECT_THAT(result.errors, HasSubstr("cannot write the output: No space left on device"))
            << testing::PrintToString(arguments);
    }
}

TEST(Output, ClosedPipe_EndsBySigpipeWithoutAMessage) {
    for (const auto& arguments : everyCommand()) {
        const auto result = tool::sysconfctl(arguments).outputToClosedPipe().run();
        EXPECT_EQ(result.signal, SIGPIPE) << testing::PrintToString(arguments);
        EXPECT_THAT(result.errors, Not(HasSubstr("output"))) << testing::PrintToString(arguments);
    }
}

tool::CommandResult paged(std::vector<std::string> arguments, const std::string& pager) {
    return tool::sysconfctl(std::move(arguments))
        .outputToTerminal(80)
        .variable("PAGER", pager)
        .run();
}

const std::string kNumberingPager = "sed 's/^/paged: /'; echo LESS=$LESS";

TEST(Output, LongTextOnATerminal_GoesThroughThePager) {
    const std::vector<std::string> show = {"show", "--env-file", tool::kEast.envFile().string(),
                                           "--color", "never"};
    const auto result = paged(show, kNumberingPager);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_THAT(result.output, AllOf(StartsWith("paged: This process\n"), HasSubstr("LESS=FRX\n")));
    EXPECT_THAT(paged({"--help"}, kNumberingPager).output, StartsWith("paged: "));
    EXPECT_THAT(tool::sysconfctl(show)
                    .outputToTerminal(80)
                    .variable("PAGER", kNumberingPager)
                    .variable("LESS", "R")
                    .run()
                    .output,
                HasSubstr("LESS=R\n"));
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {")" + std::string(3000, 'x') + R"(": []}})");
    EXPECT_THAT(paged({"get", "all-db-info"}, kNumberingPager).output, StartsWith("paged: "));
}

TEST(Output, ShortTextOrNoTerminal_DoesNotGoThroughThePager) {
    EXPECT_THAT(paged({"version"}, kNumberingPager).output, StartsWith("sysconfctl "));
    std::vector<std::string> show = {"show", "--env-file", tool::kEast.envFile().string()};
    EXPECT_THAT(tool::sysconfctl(show).variable("PAGER", kNumberingPager).run().output,
                StartsWith("This process\n"));
    show.insert(show.end(), {"--color", "never"});
    for (const char* none : {"", "cat"}) {
        EXPECT_THAT(paged(show, none).output, StartsWith("This process\n")) << none;
    }
    show.insert(show.begin(), "--no-pager");
    EXPECT_THAT(paged(show, kNumberingPager).output, StartsWith("This process\n"));
    EXPECT_THAT(paged({"help", "--no-pager"}, kNumberingPager).output, StartsWith("Shows "));
}

TEST(Output, PagerThatEndsEarlyOrFails_LeavesTheStatusOfTheCommand) {
    const std::string file = tool::kEast.envFile().string();
    for (const char* pager : {"true", "false", "head -1", "kill -9 $$"}) {
        EXPECT_EQ(paged({"show", "--env-file", file}, pager).exitStatus, 0) << pager;
    }
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {"d": {}}})");
    const auto threw = paged({"show"}, "true");
    EXPECT_EQ(threw.exitStatus, 3);
    EXPECT_THAT(threw.errors, HasSubstr("the library threw"));
}

TEST(Output, PagerThatIsNotInstalled_IsReplacedByTheTerminal) {
    const std::vector<std::string> show = {"show", "--env-file", tool::kEast.envFile().string(),
                                           "--color", "never"};
    EXPECT_THAT(paged(show, "/nowhere/pager").output, StartsWith("This process\n"));
}

TEST(Output, NothingToPrint_CannotFail) {
    EXPECT_EQ(tool::sysconfctl({"get", "app-root"}).outputToFile("/dev/full").run().exitStatus, 1);
}

TEST(Output, ControlCharactersOfTheFiles_NeverReachATerminal) {
    const auto deployment = hostileDeployment();
    const std::vector<std::vector<std::string>> commands = {
        {"show"},
        {"show", "-o", "plain"},
        {"show", "-o", "json"},
        {"get", "wss-ip-address"},
        {"get", "wss-ip-address", "-o", "table"},
        {"get", "all-float-ip", "service"},
        {"get", "all-float-ip", "service", "-o", "table"},
        {"get", "all-db-info"},
        {"get", "db-user-name", "d\033[31m", "0", "-o", "table"},
        {"explain", "wss-ip-address"},
        {"explain", "--all", "-o", "plain"},
        {"explain", "--all", "-o", "json"},
        {"check"},
        {"check", "-o", "plain"},
        {"check", "-o", "json"},
        {"who", "n"},
        {"who", "service"},
        {"who", "service", "-o", "plain"},
        {"who", "absent\033", "-o", "json"},
        {"nodes"},
        {"nodes", "-o", "wide"},
        {"nodes", "-o", "plain"},
        {"nodes", "-o", "json", "absent\033"},
        {"map"},
        {"map", "-o", "mermaid"},
        {"map", "-o", "table"},
        {"map", "-o", "plain"},
        {"map", "-o", "json"},
    };
    for (const auto& arguments : commands) {
        const auto result =
            tool::sysconfctl(arguments).outputToTerminal(80).variable("NO_COLOR", "1").run();
        EXPECT_NE(result.output, "") << testing::PrintToString(arguments);
        for (const char* raw : {"\033", "\007", "\x7f", "\xc2\x85", "\xe2\x80\xae"}) {
            EXPECT_THAT(result.output + result.errors, Not(HasSubstr(raw)))
                << testing::PrintToString(arguments);
        }
    }
    EXPECT_EQ(tool::sysconfctl({"get", "wss-ip-address"}).outputToTerminal(80).run().output,
              "\\x1b[2J\\u0085\\u202e\\n\n");
}

TEST(Output, SingleTextToAPipe_IsVerbatim) {
    const auto deployment = hostileDeployment();
    EXPECT_EQ(tool::run({"get", "wss-ip-address"}).output, "\033[2J\xc2\x85\xe2\x80\xae\n\n");
}

TEST(Output, ListsAndMapsToAPipe_KeepOneItemALine) {
    const auto deployment = hostileDeployment();
    EXPECT_EQ(tool::run({"get", "all-float-ip", "service"}).output, "m\\x1b[1m\\x7f\ta\\x1b\\nb\n");
    EXPECT_EQ(tool::run({"get", "ip-addresses", "x", ""}).output, "a\\x1b\\nb\n");
    EXPECT_THAT(tool::run({"show", "-o", "plain"}).output,
                HasSubstr("\nip-addresses assignedToTenancy $'t\\x1b[0m'\ta\\x1b\\nb\n"));
}

TEST(Output, BytesThatAreNotUtf8_AreReplacedInJsonAndNothingElseIs) {
    support::Deployment deployment;
    deployment.appConfig("{\"processes\": {\"p1\": {\"wss\": {\"ip\": \"caf\xe9 "
                         "12\xc3|\xc3\xa9\xf0\x9f\x98\x80\"}}}}");
    const auto result = tool::run({"get", "wss-ip-address", "-o", "json"});
    EXPECT_THAT(result.output, HasSubstr(R"("caf\ufffd 12\ufffd|\u00e9\ud83d\ude00")"));
    EXPECT_THAT(result.output, Each(AllOf(testing::Ge('\n'), Le('~'))));
    EXPECT_EQ(tool::sysconfctl({"get", "wss-ip-address"}).outputToTerminal(80).run().output,
              "caf\\xe9 12\\xc3|\xc3\xa9\xf0\x9f\x98\x80\n");
}

TEST(Output, Table_IsNoWiderThanTheTerminal) {
    for (const unsigned short columns : std::initializer_list<unsigned short>{40, 132}) {
        for (const auto& arguments : kTables) {
            for (const tool::View& view : {tool::kEast, tool::kWestData}) {
                std::vector<std::string> words = arguments;
                words.insert(words.end(), {"--env-file", view.envFile().string()});
                const auto result = tool::sysconfctl(words)
                                        .outputToTerminal(columns)
                                        .variable("NO_COLOR", "1")
                                        .run();
                EXPECT_THAT(tool::linesOf(result.output), Each(NoWiderThan(columns)))
                    << testing::PrintToString(words);
                EXPECT_NE(result.output, "") << testing::PrintToString(words);
            }
        }
        for (const char* command : {"--version", "show", "get", "watch", "explain", "diff", "who",
                                    "check", "nodes", "map"}) {
            const auto result =
                tool::sysconfctl({command, "--help"}).outputToTerminal(columns).run();
            EXPECT_THAT(tool::linesOf(result.output), Each(SizeIs(Le(columns)))) << command;
        }
        const auto help = tool::sysconfctl({"--help"}).outputToTerminal(columns).run();
        EXPECT_THAT(tool::linesOf(help.output), Each(SizeIs(Le(columns))));
    }
}

TEST(Output, EverythingButPlainLinesToAPipe_IsNoWiderThan100Columns) {
    std::vector<std::vector<std::string>> commands = kTables;
    for (const char* command :
         {"show", "get", "watch", "explain", "diff", "who", "check", "nodes", "map"}) {
        commands.push_back({command, "--help"});
    }
    commands.push_back({"get", "--list", "-o", "table"});
    commands.push_back({"--help"});
    for (std::vector<std::string>& words : commands) {
        words.insert(words.begin(), {"--env-file", tool::kEast.envFile().string()});
        EXPECT_THAT(tool::linesOf(tool::run(words).output), Each(NoWiderThan(100U)))
            << testing::PrintToString(words);
    }
}

std::string uncolored(const std::string& text) {
    return std::regex_replace(text, std::regex("\033\\[[0-9;]*m"), "");
}

TEST(Output, Color_IsForTablesOnTerminalsUnlessSetOtherwise) {
    for (const auto& arguments : kTables) {
        std::vector<std::string> words = arguments;
        if (words.front() == "check") {
            words.emplace_back("--notes"); // the deployment has only notes
        }
        words.insert(words.end(), {"--env-file", tool::kWestData.envFile().string()});
        const auto with = [&](const char* when, bool terminal, const char* refused) {
            std::vector<std::string> asked = words;
            if (when != nullptr) {
                asked.insert(asked.end(), {"--color", when});
            }
            auto command =
                tool::sysconfctl(asked).variable("COLUMNS", "90").variable("NO_COLOR", refused);
            if (terminal) {
                command.outputToTerminal(90);
            }
            return command.run().output;
        };
        const std::string bare = with("never", false, "");
        EXPECT_THAT(bare, Not(HasSubstr("\033")));
        EXPECT_EQ(with(nullptr, false, ""), bare) << testing::PrintToString(words);
        EXPECT_EQ(with("never", true, ""), bare) << testing::PrintToString(words);
        EXPECT_EQ(with(nullptr, true, "1"), bare) << testing::PrintToString(words);
        for (const std::string& colored :
             {with("always", false, ""), with("always", false, "1"), with("auto", true, "")}) {
            EXPECT_THAT(colored, HasSubstr("\033[")) << testing::PrintToString(words);
            EXPECT_EQ(uncolored(colored), bare) << testing::PrintToString(words);
        }
    }
    for (std::vector<std::string> words : everyCommand()) {
        const bool table = std::find(words.begin(), words.end(), "table") != words.end() ||
                           std::find(words.begin(), words.end(), "wide") != words.end();
        if (words.front() != "watch" && words.size() > 2 && !table) {
            words.insert(words.end(), {"--color", "always"});
            const auto result = tool::run(words);
            EXPECT_EQ(result.exitStatus, 0) << testing::PrintToString(words);
            EXPECT_THAT(result.output, Not(HasSubstr("\033"))) << testing::PrintToString(words);
        }
    }
}

TEST(Output, TableToAPipe_IsNoWiderThan100ColumnsOrAsCOLUMNSSays) {
    const std::vector<std::string> arguments = {"show", "--env-file",
                                                tool::kEast.envFile().string()};
    EXPECT_THAT(tool::linesOf(tool::run(arguments).output), Each(SizeIs(Le(100U))));
    const auto narrow = tool::sysconfctl(arguments).variable("COLUMNS", "50").run();
    EXPECT_THAT(tool::linesOf(narrow.output), Each(SizeIs(Le(50U))));
    for (const char* nonsense : {"", "0", "x", "50x", "-1"}) {
        EXPECT_EQ(tool::sysconfctl(arguments).variable("COLUMNS", nonsense).run().output,
                  tool::run(arguments).output)
            << nonsense;
    }
}

} // namespace
