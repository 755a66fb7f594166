// Where the output goes: pipes, terminals of any width, full disks, readers that went away.

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Le;
using ::testing::Not;
using ::testing::SizeIs;

const std::vector<std::vector<std::string>> kCommands = {
    {"show"},
    {"show", "-o", "plain"},
    {"show", "-o", "json"},
    {"get", "local-port"},
    {"get", "--list"},
    {"--help"},
    {"--version"},
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

TEST(Output, FullDisk_EndsWith70AndAMessage) {
    for (const auto& arguments : kCommands) {
        const auto result = tool::sysconfctl(arguments).outputToFile("/dev/full").run();
        EXPECT_EQ(result.exitStatus, 70) << testing::PrintToString(arguments);
        EXPECT_EQ(result.errors, "sysconfctl: cannot write the output: No space left on device\n");
    }
}

TEST(Output, ReaderThatWentAway_EndsWith70AndNotBySignal) {
    for (const auto& arguments : kCommands) {
        const auto result = tool::sysconfctl(arguments).outputToClosedPipe().run();
        EXPECT_EQ(result.signal, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(result.exitStatus, 70) << testing::PrintToString(arguments);
        EXPECT_EQ(result.errors, "sysconfctl: cannot write the output: Broken pipe\n");
    }
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
    };
    for (const auto& arguments : commands) {
        const auto result = tool::sysconfctl(arguments).outputToTerminal(80).run();
        EXPECT_NE(result.output, "") << testing::PrintToString(arguments);
        for (const char* raw : {"\033", "\007", "\x7f", "\xc2\x85", "\xe2\x80\xae"}) {
            EXPECT_THAT(result.output + result.errors, Not(HasSubstr(raw)))
                << testing::PrintToString(arguments);
        }
    }
    EXPECT_EQ(tool::sysconfctl({"get", "wss-ip-address"}).outputToTerminal(80).run().output,
              "\\x1b[2J\\u0085\\u202e\\n\n");
}

TEST(Output, SingleTextToAPipe_IsTheVeryAnswer) {
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

TEST(Output, BytesThatAreNoUtf8_AreStillJson) {
    support::Deployment deployment;
    deployment.appConfig("{\"processes\": {\"p1\": {\"wss\": {\"ip\": \"a\xff\xc3\"}}}}");
    const auto result = tool::run({"get", "wss-ip-address", "-o", "json"});
    EXPECT_TRUE(tool::parsed(result.output)["answered"].asBool());
    EXPECT_THAT(result.output, Each(AllOf(testing::Ge('\n'), Le('~'))));
    EXPECT_EQ(tool::sysconfctl({"get", "wss-ip-address"}).outputToTerminal(80).run().output,
              "a\\xff\\xc3\n");
}

TEST(Output, Table_IsNoWiderThanTheTerminal) {
    for (const unsigned short columns : std::initializer_list<unsigned short>{40, 60, 80, 132}) {
        for (const tool::View& view : tool::views()) {
            const auto result = tool::sysconfctl({"show", "--env-file", view.envFile().string()})
                                    .outputToTerminal(columns)
                                    .run();
            EXPECT_THAT(tool::linesOf(result.output), Each(SizeIs(Le(columns)))) << columns;
            EXPECT_THAT(result.output, HasSubstr("local-port"));
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
