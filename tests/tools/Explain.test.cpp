// Explanations of answers.

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
using ::testing::StartsWith;

/// Runs on the master of the pair, with paths that are the same on every machine.
support::Command onMaster(std::vector<std::string> arguments) {
    for (const char* variable : {"APP_CONF_FILE=node-1/etc/app.json", "APP_ROOT=node-1",
                                 "TOLM_ROOT=manager", "PROCESS_INSTANCE_ID=alarm-1"}) {
        arguments.insert(arguments.end(), {"--set", variable});
    }
    support::Command command = tool::sysconfctl(std::move(arguments));
    command.workingDirectory(tool::samplesDirectory() / "ha-pair");
    return command;
}

void expectGolden(const std::vector<std::string>& arguments, int status, const std::string& name) {
    const auto result = onMaster(arguments).run();
    EXPECT_EQ(result.exitStatus, status) << name << result.errors;
    EXPECT_EQ(result.output, tool::readFile(tool::sourceDirectory() / "tests/tools/golden" / name))
        << name;
}

TEST(Explain, OfTheSamples_LooksAsWrittenDown) {
    expectGolden({"explain", "local-north-ip"}, 0, "explain-local-north-ip.table.txt");
    expectGolden({"explain", "local-north-ip", "-o", "plain"}, 0, "explain-local-north-ip.txt");
    expectGolden({"explain", "local-north-ip", "-o", "json"}, 0, "explain-local-north-ip.json");
    expectGolden({"explain", "local-service2-ip"}, 1, "explain-local-service2-ip.table.txt");
    expectGolden({"explain", "master-internal-service-ip", "-o", "plain"}, 0,
                 "explain-master-internal-service-ip.txt");
}

TEST(Explain, AllOfEveryView_AgreesWithTheLibrary) {
    for (const tool::View& view : tool::views()) {
        const auto result = tool::run(view, {"explain", "--all", "-o", "json"});
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        const Json::Value all = tool::parsed(result.output);
        const Json::Value shown = tool::parsed(tool::run(view, {"show", "-o", "json"}).output);
        EXPECT_EQ(all["schemaVersion"], 1);
        ASSERT_EQ(all["explanations"].size(), shown["answers"].size());
        for (Json::ArrayIndex i = 0; i < shown["answers"].size(); ++i) {
            Json::Value one = all["explanations"][i];
            EXPECT_TRUE(one["agrees"].asBool()) << one;
            EXPECT_GT(one["steps"].size(), 0U) << one["query"];
            EXPECT_EQ(one.isMember("reason"), !one["answered"].asBool()) << one["query"];
            for (const char* added : {"agrees", "steps", "reason"}) {
                one.removeMember(added);
            }
            EXPECT_EQ(one, shown["answers"][i]);
        }
    }
}

TEST(Explain, StandbyThatStandsIn_TellsThroughWhichAddress) {
    const auto result = tool::run(tool::kStandby, {"explain", "float-node-id", "-o", "plain"});
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("\tnode\tthe own node id is \"node-2\"\t"),
                      HasSubstr("\tnode\tits host type is \"standby\"\t"),
                      HasSubstr("a standby may stand in for \"node-1\", whose service address is "
                                "\"127.0.0.1\""),
                      HasSubstr("this host carries the service address of \"node-1\""),
                      HasSubstr("\tanswer\tnode-1\t")));
}

struct ReasonRow {
    std::vector<std::string> query;
    std::string appConfig;
    std::string nodeList;
    std::string reason;
    std::string step;
};

TEST(Explain, NoAnswer_HasAReasonByName) {
    const std::string app = R"({"processes": {"p1": {"nodeId": "n"}}})";
    const std::vector<ReasonRow> rows = {
        {{"wss-ip-address"}, "", "", "file-unreadable", "No such file"},
        {{"wss-ip-address"}, "{", "", "file-does-not-parse", "app.json:1:2: the file ends"},
        {{"wss-ip-address"}, "{}", "", "no-instance-entry", "has no entry \\\"p1\\\""},
        {{"wss-ip-address"}, app, "", "value-absent", "/processes/p1/wss/ip is absent"},
        {{"wss-ip-address"},
         R"({"processes": {"p1": {"wss": {"ip": ""}}}})",
         "",
         "value-empty",
         "/processes/p1/wss/ip is empty"},
        {{"wss-ip-address"},
         R"({"processes": {"p1": {"IR": {"ip": []}, "wss": {"ip": "x"}}}})",
         "",
         "loader-stopped",
         "the loader stops at /processes/p1/IR/ip, which is an array where a text is read"},
        {{"local-service2-ip"}, app, "", "file-unreadable", "nodelist.json: No such file"},
        {{"local-service2-ip"}, app, R"({"nodeList": {}})", "node-not-listed", "has no node"},
        {{"local-service2-ip"},
         app,
         R"({"nodeList": {"n": {}}})",
         "no-address-entries",
         "the node has no \\\"IPAddresses\\\""},
        {{"local-service2-ip"},
         app,
         R"({"nodeList": {"n": {"IPAddresses": [{"IP": "1", "usage": "service2"}]}}})",
         "tag-not-found",
         "not a list: it matches nothing"},
        {{"local-service2-ip"},
         app,
         R"({"nodeList": {"n": {"IPAddresses": [{"usage": ["service2"]}]}}})",
         "entry-without-address",
         "no \\\"IP\\\" [service2]: taken"},
        {{"local-service2-ip"},
         app,
         R"({"nodeList": {"n": {"IPAddresses": [{"usage": [[]]}]}}})",
         "wrong-type",
         "the library's walk ends here"},
        {{"local-service2-ip"}, app, R"({"nodeList": []})", "wrong-type", "/nodeList is an array"},
        {{"product-name"}, app, R"({"nodeList": {"n": {}}})", "value-absent", "is absent"},
        {{"source-node-id"}, app, R"({"nodeList": {}})", "no-source", "the addresses of this host"},
        {{"master-internal-service-ip"}, app, "", "file-unreadable", "does not load"},
        {{"db-type", "d", "0"}, app, "", "unknown-database", "there is no database"},
        {{"db-type", "d", "1"},
         R"({"databases": {"d": [{}]}})",
         "",
         "no-such-entry",
         "beyond the last one"},
        {{"all-float-ip", "x"}, app, "", "file-unreadable", "does not load"},
    };
    for (const ReasonRow& row : rows) {
        support::Deployment deployment;
        std::filesystem::remove(deployment.appConfigPath());
        std::filesystem::remove(deployment.nodeListPath());
        if (!row.appConfig.empty()) {
            deployment.appConfig(row.appConfig);
        }
        if (!row.nodeList.empty()) {
            deployment.nodeList(row.nodeList);
        }
        std::vector<std::string> arguments = {"explain", "-o", "json"};
        arguments.insert(arguments.end(), row.query.begin(), row.query.end());
        const auto result = tool::run(arguments);
        EXPECT_EQ(result.exitStatus, 1) << row.reason << result.errors;
        EXPECT_EQ(tool::parsed(result.output)["explanations"][0]["reason"]["name"].asString(),
                  row.reason)
            << result.output;
        EXPECT_THAT(result.output, HasSubstr(row.step));
    }
}

TEST(Explain, UnsetVariables_AreToldAndAReason) {
    support::setEnvironment("TOLM_ROOT", nullptr);
    const Json::Value value =
        tool::parsed(tool::run({"explain", "all-float-ip", "x", "-o", "json"}).output);
    EXPECT_EQ(value["explanations"][0]["reason"]["name"], "variable-unset");
    EXPECT_EQ(value["explanations"][0]["steps"][0]["text"],
              "TOLM_ROOT is not set, which counts as empty");
}

TEST(Explain, AnswerThatDiffersFromTheLibrarys_IsAnInternalError) {
    support::Deployment deployment;
    const std::filesystem::path library = SYSCONF_LOGGING_EVENT_LIBRARY;
    for (const char* format : {"table", "plain", "json"}) {
        const auto result = tool::sysconfctl({"explain", "app-root", "-o", format})
                                .variable("LD_LIBRARY_PATH", library.parent_path().string())
                                .variable("EVENT_CHANGES", "1")
                                .run();
        EXPECT_EQ(result.exitStatus, 70) << format;
        EXPECT_THAT(result.errors, HasSubstr("app-root: internal error: what is explained is not "
                                             "what the library answers"));
    }
}

TEST(Explain, Passwords_AreMaskedInEveryWriterUnlessRevealed) {
    for (const char* format : {"table", "plain", "json"}) {
        for (const auto& query :
             std::vector<std::vector<std::string>>{{"db-password", "alarms", "0"},
                                                   {"db-info", "alarms"},
                                                   {"all-db-info"},
                                                   {"--all"}}) {
            std::vector<std::string> arguments = {"explain", "-o", format};
            arguments.insert(arguments.end(), query.begin(), query.end());
            const auto result = tool::run(tool::kMaster, arguments);
            EXPECT_EQ(result.exitStatus, 0);
            EXPECT_THAT(result.output + result.errors, Not(HasSubstr("sample-password"))) << format;
        }
        EXPECT_THAT(tool::run(tool::kMaster, {"explain", "-o", format, "--reveal-secrets",
                                              "db-password", "alarms", "0"})
                        .output,
                    HasSubstr("sample-password"));
    }
}

TEST(Explain, Colour_IsForTerminalsUnlessToldOtherwise) {
    const std::string env = tool::kMaster.envFile().string();
    const std::vector<std::string> query = {"explain", "local-port", "--env-file", env};
    const auto with = [&](const char* choice) {
        std::vector<std::string> arguments = query;
        arguments.insert(arguments.end(), {"--color", choice});
        return arguments;
    };
    EXPECT_THAT(tool::sysconfctl(query).run().output, Not(HasSubstr("\033")));
    EXPECT_THAT(tool::sysconfctl(query).outputToTerminal(80).run().output, HasSubstr("\033[1m"));
    EXPECT_THAT(tool::sysconfctl(query).variable("NO_COLOR", "1").outputToTerminal(80).run().output,
                Not(HasSubstr("\033")));
    EXPECT_THAT(tool::sysconfctl(query).variable("NO_COLOR", "").outputToTerminal(80).run().output,
                HasSubstr("\033[1m"));
    EXPECT_THAT(tool::sysconfctl(with("never")).outputToTerminal(80).run().output,
                Not(HasSubstr("\033")));
    EXPECT_THAT(tool::sysconfctl(with("always")).run().output, HasSubstr("\033[1m"));
}

TEST(Explain, Table_IsNoWiderThanTheTerminalAndEscaped) {
    support::Deployment deployment;
    deployment.appConfig("{\"processes\": {\"p1\": {\"nodeId\": \"n\\u001b[31m\"}}}");
    deployment.nodeList(
        "{\"nodeList\": {\"n\\u001b[31m\": {\"IPAddresses\": "
        "[{\"IP\": \"\\u001b[2J\", \"usage\": [\"service\\u001b\", \"service\"]}]}}}");
    for (const unsigned short columns : std::initializer_list<unsigned short>{40, 80}) {
        for (const char* query : {"local-service-ip", "local-south-ip", "float-node-id"}) {
            const auto result = tool::sysconfctl({"explain", query, "--color", "never"})
                                    .outputToTerminal(columns)
                                    .run();
            EXPECT_EQ(result.exitStatus, 0);
            EXPECT_THAT(result.output, AllOf(StartsWith(query), Not(HasSubstr("\033"))));
            EXPECT_THAT(tool::linesOf(result.output), Each(SizeIs(Le(columns)))) << query;
        }
    }
}

} // namespace
