// SPDX-License-Identifier: Apache-2.0

#include "Golden.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// Uses paths that are the same on every machine.
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
    tool::expectGoldenText(result.output, name);
}

TEST(Explain, OfTheSamples_EqualsTheGoldenFile) {
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
            EXPECT_NE(one["verdict"].asString(), "") << one["query"];
            EXPECT_NE(one["reason"].asString(), "") << one["query"];
            for (const char* added :
                 {"agrees", "steps", "verdict", "reason", "advice", "decided"}) {
                one.removeMember(added);
            }
            EXPECT_EQ(one, shown["answers"][i]);
        }
    }
}

TEST(Explain, StandbyThatStandsIn_NamesTheAddressAndTheNode) {
    const auto result = tool::run(tool::kStandby, {"explain", "float-node-id", "-o", "plain"});
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("\tvalue\tnodeId of process alarm-1 is node-2\t"),
                      HasSubstr("\tnode\thostType of node-2 is standby\t"),
                      HasSubstr("\tverdict\tnode-2 is a standby and this host carries 127.0.0.1, "
                                "the service address of node-1, so it answers for node-1\t"),
                      HasSubstr("\tanswer\tnode-1\t")));
}

struct ReasonRow {
    std::vector<std::string> query;
    std::string appConfig;
    std::string nodeList;
    std::string reason;
    std::string verdict;
};

std::string listOf(const std::string& entries) {
    return R"({"nodeList": {"n": {"IPAddresses": [)" + entries + "]}}}";
}

Json::Value explained(std::vector<std::string> query) {
    std::vector<std::string> arguments = {"explain", "-o", "json"};
    arguments.insert(arguments.end(), query.begin(), query.end());
    return tool::parsed(tool::run(arguments).output)["explanations"][0];
}

TEST(Explain, EveryAnswer_HasAReasonAndASentence) {
    const std::string app = R"({"processes": {"p1": {"nodeId": "n", "IR": {"ip": "9"}}}})";
    const std::vector<ReasonRow> rows = {
        {{"wss-ip-address"},
         "",
         "",
         "file-unreadable",
         "APP_CONF_FILE is not readable: no such file or directory; every value of the process is "
         "empty"},
        {{"wss-ip-address"},
         "{",
         "",
         "file-does-not-parse",
         "the application configuration file is not valid JSON: the file ends inside an object; "
         "every value of the process is empty"},
        {{"wss-ip-address"},
         R"({"processes": {"p2": {}}})",
         "",
         "no-instance-entry",
         "PROCESS_INSTANCE_ID is p1, and \"processes\" has no such entry; did you mean p2? every "
         "value of the process is empty"},
        {{"wss-ip-address"},
         app,
         "",
         "value-absent",
         "wss.ip of process p1 is not set; the answer is empty"},
        {{"wss-port"},
         app,
         "",
         "value-absent",
         "wss.port of process p1 is not set; the answer is 0"},
        {{"wss-ip-address"},
         R"({"processes": {"p1": {"wss": {"ip": ""}}}})",
         "",
         "value-empty",
         "wss.ip of process p1 is empty; the answer is empty"},
        {{"wss-ip-address"},
         R"({"processes": {"p1": {"IR": {"ip": []}, "wss": {"ip": "x"}}}})",
         "",
         "load-stopped",
         "IR.ip of process p1 is an array where a text is read; the load ends there; the answer is "
         "empty"},
        {{"wss-ip-address"},
         R"({"processes": {"p1": {"Wss": {"ip": "x"}}}})",
         "",
         "misspelt-name",
         "Wss is not a name that is read; did you mean wss? the answer is empty"},
        {{"wss-port"},
         R"({"processes": {"p1": {"wss": {}, "port": 5}}})",
         "",
         "misplaced-name",
         "port of process p1 is in the wrong place and is not read; did you mean wss.port? the "
         "answer is 0"},
        {{"product-name"},
         app,
         R"({"nodeList": {"n": {"extAttr": {"assignedToTenancy": "t"}}}})",
         "misplaced-name",
         "extAttr.assignedToTenancy of n is in the wrong place and is not read; did you mean "
         "assignedToTenancy?"},
        {{"local-service2-ip"},
         app,
         "",
         "file-unreadable",
         "the node list of APP_ROOT is not readable: no such file or directory"},
        {{"local-service2-ip"},
         app,
         R"({"nodeList": {}})",
         "node-not-listed",
         "the node list has no node n"},
        {{"local-service2-ip"},
         app,
         R"({"nodeList": {"n": {}}})",
         "value-absent",
         "IPAddresses of n is not set"},
        {{"local-service2-ip"},
         app,
         listOf(R"({"IP": "1", "usage": "service2"})"),
         "usage-no-array",
         "usage of entry 0 of n is a text, not an array, and matches nothing"},
        {{"local-service2-ip"},
         app,
         listOf(R"({"IP": "1", "usages": ["service2"]})"),
         "misspelt-name",
         "usages of entry 0 is not a name that is read; did you mean usage?"},
        {{"local-service2-ip"},
         app,
         listOf(R"({"usage": ["service2"]})"),
         "entry-without-address",
         "the first entry of n tagged service2 has no \"IP\", and the search ends there"},
        {{"local-service2-ip"},
         app,
         listOf(R"({"ip": "1", "usage": ["service2"]})"),
         "misspelt-name",
         "ip of entry 0 is not a name that is read; did you mean IP?"},
        {{"local-service2-ip"},
         app,
         listOf(R"({"usage": [[]]})"),
         "wrong-type",
         "usage.0 of entry 0 of n is an array where a text is read, and the search ends there"},
        {{"local-service2-ip"},
         app,
         R"({"nodeList": []})",
         "wrong-type",
         "\"nodeList\" is an array where an object is read"},
        {{"product-name"},
         app,
         R"({"nodeList": []})",
         "load-stopped",
         "\"nodeList\" is an array where an object is read; the load ends there"},
        {{"local-service2-ip"},
         app,
         listOf(R"({"IP": "1", "usage": ["servcie2"]})"),
         "near-miss-tag",
         "servcie2 is no service tag; did you mean service2?"},
        {{"local-ip-by-usage", "backup"},
         app,
         listOf(R"({"IP": "1", "usage": ["bakcup"]})"),
         "near-miss-tag",
         "bakcup is no backup tag; did you mean backup?"},
        {{"local-service2-ip"},
         app,
         listOf(R"({"IP": "1", "usage": ["service3"]})"),
         "tag-not-found",
         "no service2 tag on n"},
        {{"local-south-ip"},
         app,
         listOf(R"({"IP": "1", "usage": ["service"]}, {"IP": "2", "usage": ["soutbound3"]})"),
         "near-miss-tag",
         "soutbound3 is no southbound tag; did you mean southbound3? n falls back to its service "
         "address"},
        {{"local-south-ip"},
         app,
         listOf(R"({"IP": "1", "usage": ["southbound1"]})"),
         "near-miss-tag",
         "southbound1 is no southbound tag; did you mean southbound? n falls back to the "
         "maintenance address of the process"},
        {{"local-south-ip"},
         app,
         listOf(R"({"IP": "1", "usage": ["service"]})"),
         "fallback",
         "no southbound tag on n; falls back to its service address"},
        {{"local-service-ip"},
         app,
         listOf(R"({"IP": "1", "usage": ["northbound"]})"),
         "fallback",
         "no service tag on n; falls back to the maintenance address of the process"},
        {{"local-north-ip"},
         app,
         listOf(R"({"IP": "1", "usage": ["northbound"]}, {"IP": "2", "usage": ["northbound"]})"),
         "family-found",
         "n has 1 northbound address: northbound in slot 1; 1 entry with the same tag is "
         "overridden"},
        {{"pf-type"},
         app,
         listOf(R"({"IP": "::1", "usage": ["southbound"]})"),
         "family-found",
         "n has 1 southbound address: southbound in slot 1; every address has a \":\", so it is 1, "
         "IPv6"},
        {{"local-node-ips", "North"},
         app,
         listOf(R"({"IP": "1", "usage": ["northbound"]})"),
         "capitals",
         "North has capitals and matches nothing: tags are compared in lower case"},
        {{"float-node-id"},
         app,
         R"({"nodeList": {"n": {"extAttr": {"hostType": "Standby"}}}})",
         "near-miss-role",
         "hostType of n is Standby, which is not \"standby\" (letter case is compared too); n "
         "answers for itself"},
        {{"source-node-id"},
         app,
         R"({"nodeList": {}})",
         "no-source",
         "no node that is not a standby has a service address"},
        {{"db-type", "d", "0"},
         R"({"databases": {"D": [{}]}})",
         "",
         "unknown-database",
         "there is no database d; did you mean D?"},
        {{"db-type", "d", "1"},
         R"({"databases": {"d": [{}]}})",
         "",
         "no-such-entry",
         "database d has no entry 1, which reads as empty; the answer is empty"},
        {{"db-type", "d", "0"},
         R"({"databases": {"d": {}}})",
         "",
         "wrong-type",
         "database d is an object where an array is read; the library throws"},
        {{"all-float-ip", "x"},
         app,
         "",
         "file-unreadable",
         "the manager node list of TOLM_ROOT is not readable: no such file or directory; the query "
         "returns -1"},
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
        const Json::Value explanation = explained(row.query);
        EXPECT_EQ(explanation["verdict"].asString(), row.verdict) << explanation;
        EXPECT_EQ(explanation["reason"].asString(), row.reason) << row.verdict;
    }
}

TEST(Explain, UnsetVariables_AreAReason) {
    support::setEnvironment("TOLM_ROOT", nullptr);
    const Json::Value value = explained({"all-float-ip", "x"});
    EXPECT_EQ(value["reason"], "variable-unset");
    EXPECT_EQ(value["steps"][0]["text"], "TOLM_ROOT is not set");
}

std::vector<Json::Value> stepsWith(const Json::Value& explanation, const std::string& outcome) {
    std::vector<Json::Value> found;
    for (const Json::Value& step : explanation["steps"]) {
        if (step["outcome"] == outcome) {
            found.push_back(step);
        }
    }
    return found;
}

TEST(Explain, ValueThatALoadDidNotReach_IsNotShownAsRead) {
    support::Deployment deployment;
    deployment.appConfig(
        R"({"processes": {"p1": {"IR": {"ip": []}, "wss": {"ip": "x"}, "nodeId": "n"}}})");
    deployment.nodeList(listOf(""));
    for (const char* query : {"wss-ip-address", "float-node-id", "local-service-ip"}) {
        const Json::Value explanation = explained({query});
        EXPECT_THAT(stepsWith(explanation, "read"), SizeIs(0)) << explanation;
        const auto stops = stepsWith(explanation, "stopped");
        ASSERT_THAT(stops, SizeIs(1)) << query;
        EXPECT_EQ(stops[0]["pointer"], "/processes/p1/IR/ip");
        EXPECT_EQ(stops[0]["expected"], "a text");
        EXPECT_EQ(stops[0]["found"], "an array");
        EXPECT_TRUE(stops[0]["decides"].asBool());
    }
}

TEST(Explain, Overridden_NamesTheRuleByWhichItLost) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n"}}})");
    deployment.nodeList(
        R"({"nodeList": {"n": {"assignedToTenancy": "t", "IPAddresses": [
            {"IP": "1", "usage": ["northbound", "service"]},
            {"IP": "2", "usage": ["northbound"]},
            {"IP": "3", "usage": ["maintenance"]},
            {"IP": "4", "usage": ["internal_service"]}]}}})");
    const std::string master = R"(: {"assignedToTenancy": "t", "extAttr": {"hostType": "master",
        "domain_node_type": "ACCESS_Master"}, "IPAddresses": []})";
    deployment.managerNodeList(R"({"nodeList": {"a")" + master + R"(, "b")" + master + "}}");
    const auto overridden = [](std::vector<std::string> query) {
        const auto steps = stepsWith(explained(std::move(query)), "overridden");
        return steps.size() == 1 ? steps[0] : Json::Value();
    };
    const Json::Value byPosition = overridden({"local-north-ip"});
    EXPECT_EQ(byPosition["by"], "position");
    EXPECT_EQ(byPosition["entry"], "1");
    EXPECT_EQ(byPosition["address"], "2");
    EXPECT_EQ(byPosition["tags"][0], "northbound");
    EXPECT_EQ(byPosition["node"], "n");
    const Json::Value byTag = overridden({"local-internal-service-ip"});
    EXPECT_EQ(byTag["by"], "tag");
    EXPECT_EQ(byTag["entry"], "2");
    const Json::Value byOrder = overridden({"master-internal-service-ip"});
    EXPECT_EQ(byOrder["by"], "order");
    EXPECT_EQ(byOrder["node"], "a");
}

TEST(Explain, Screen_HasAtMostEightStepsAndOneThatDecides) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n"}}})");
    std::string entries;
    for (int i = 2; i < 20; ++i) {
        entries += R"({"IP": "1", "usage": ["southbound)" + std::to_string(i) + R"("]},)";
    }
    deployment.nodeList(listOf(entries + R"({"IP": "2", "usage": ["soutbound"]})"));
    const auto steps = [](const std::vector<std::string>& arguments) {
        std::pair<int, int> counted;
        for (const std::string& line : tool::linesOf(tool::run(arguments).output)) {
            const bool marked = line.starts_with("> ");
            counted.first += marked || line.starts_with("  entry") ? 1 : 0;
            counted.second += marked ? 1 : 0;
        }
        return counted;
    };
    EXPECT_EQ(steps({"explain", "local-south-ip"}), std::pair(8, 1));
    EXPECT_EQ(steps({"explain", "local-south-ip", "-v"}), std::pair(20, 1));
    EXPECT_THAT(
        tool::run({"explain", "local-south-ip"}).output,
        AllOf(HasSubstr("> entry  soutbound is no southbound tag; did you mean southbound?"),
              HasSubstr("more steps: -v\n"), Not(HasSubstr("/nodeList/n/"))));
    EXPECT_THAT(tool::run({"explain", "local-south-ip", "-v"}).output,
                AllOf(Not(HasSubstr("more step")), HasSubstr("/nodeList/n/IPAddresses/18\n")));
}

TEST(Explain, Places_AreRelativeWhereThatIsShorter) {
    const std::string place = "node-1/etc/app.json:20:45";
    const auto from = [](const std::filesystem::path& folder) {
        return tool::sysconfctl(
                   {"explain", "local-port", "--env-file", tool::kMaster.envFile().string()})
            .workingDirectory(folder)
            .run()
            .output;
    };
    const auto pair = tool::samplesDirectory() / "ha-pair";
    EXPECT_THAT(from(pair), AllOf(HasSubstr("  " + place), Not(HasSubstr("/" + place))));
    EXPECT_THAT(from("/"), HasSubstr((pair / place).string().substr(1)));
    EXPECT_THAT(from("/proc/self/fd"), HasSubstr((pair / place).string()));
}

TEST(Explain, MomentOfTheDecision_IsReported) {
    const auto moment = [](const char* query) {
        return tool::linesOf(tool::run(tool::kMaster, {"explain", query}).output).back();
    };
    EXPECT_EQ(moment("float-node-id"), "decided at load; this is for a process that starts now");
    EXPECT_EQ(moment("local-service-ip"),
              "the node is decided at load; this is for a process that starts now");
    EXPECT_THAT(moment("app-root"), StartsWith("> variable"));
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
        EXPECT_THAT(result.errors,
                    HasSubstr("app-root: internal error: the explanation does not match "
                              "the library's answer"));
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

TEST(Explain, Colour_IsUsedOnTerminalsUnlessSetOtherwise) {
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
            for (const std::string& line : tool::linesOf(result.output)) {
                EXPECT_TRUE(tool::fits(line, columns)) << line;
            }
        }
    }
}

} // namespace
