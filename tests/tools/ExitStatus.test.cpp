// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

#include <csignal>
#include <string_view>

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

const std::vector<std::string>& formatsOf(std::string_view command) {
    static const std::vector<std::string> usual = {"table", "plain", "json"};
    static const std::vector<std::string> ofNodes = {"table", "wide", "name", "plain", "json"};
    static const std::vector<std::string> ofMap = {"dot",   "mermaid", "svg",
                                                   "table", "plain",   "json"};
    return command == "nodes" ? ofNodes : command == "map" ? ofMap : usual;
}

enum class Found {
    Nothing,         ///< an environment without files
    BrokenDatabases, ///< files that load, but queries throw
    Warnings,        ///< files with warnings, but without errors
    Clean
};

struct Row {
    Found found;
    int status;
    std::vector<std::string> arguments;
    std::string message;
};

struct Misuse {
    int status;
    std::vector<std::string> arguments;
    std::string message;
};

support::Deployment brokenDatabases() {
    support::Deployment deployment;
    deployment.appConfig(R"({
        "databases": {"object": {"type": "x", "passwd": "hush-hush"},
                      "fields": [{"type": {}, "accessPort": "5432", "passwd": ["hush-hush"],
                                  "user": "me"}],
                      "minus": [{"accessPort": -1}]},
        "processes": {"p1": {"nodeId": "n", "local": {"port": 7}}}})");
    deployment.nodeList(R"({"nodeList": {"n": {}}})");
    return deployment;
}

support::Deployment filesWithWarnings() {
    const std::string list = R"({"nodeList": {"n1": {
        "assignedToTenancy": "t",
        "extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master"},
        "IPAddresses": [{"IP": "10.0.0.1", "usage": ["service", "maintenance"]},
                        {"IP": "10.0.0.2", "usage": ["soutbound"]}]}}})";
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {}, "processes": {"p1": {"nodeId": "n1"}}})")
        .nodeList(list)
        .managerNodeList(list);
    return deployment;
}

const std::vector<Row> kRows = {
    {Found::BrokenDatabases, 0, {"get", "local-port"}, ""},
    {Found::BrokenDatabases, 0, {"get", "wss-port"}, ""},
    {Found::BrokenDatabases, 0, {"get", "all-db-info", "--reveal-secrets"}, ""},
    {Found::BrokenDatabases, 0, {"get", "db-info", "object", "--reveal-secrets"}, ""},
    {Found::BrokenDatabases, 2, {"get", "all-db-info"}, "all-db-info holds secrets"},
    {Found::BrokenDatabases, 2, {"get", "db-info", "object"}, "db-info object holds secrets"},
    {Found::BrokenDatabases, 0, {"get", "db-user-name", "fields", "0"}, ""},
    {Found::BrokenDatabases, 0, {"get", "local-node-ips", "northbound"}, ""},
    {Found::BrokenDatabases, 0, {"get", "--list"}, ""},
    {Found::BrokenDatabases, 1, {"get", "wss-ip-address"}, ""},
    {Found::BrokenDatabases, 1, {"get", "product-name"}, ""},
    {Found::BrokenDatabases, 1, {"get", "db-info", "absent"}, ""},
    {Found::BrokenDatabases, 1, {"get", "db-type", "absent", "0"}, ""},
    {Found::BrokenDatabases, 1, {"get", "db-access-port", "absent", "0"}, ""},
    {Found::BrokenDatabases, 1, {"get", "db-access-port", "minus", "0"}, ""},
    {Found::BrokenDatabases, 1, {"get", "db-user-name", "fields", "1"}, ""},
    {Found::BrokenDatabases, 1, {"get", "ip-addresses", "assignedToTenancy", ""}, ""},
    {Found::BrokenDatabases, 1, {"get", "all-float-ip", "service"}, ""},
    {Found::BrokenDatabases,
     3,
     {"get", "db-type", "object", "0"},
     "db-type object 0: the library threw: "},
    {Found::BrokenDatabases,
     3,
     {"get", "db-type", "fields", "0"},
     "db-type fields 0: the library threw: "},
    {Found::BrokenDatabases,
     3,
     {"get", "db-access-port", "fields", "0"},
     "db-access-port fields 0: the library threw: "},
    {Found::BrokenDatabases, 3, {"show"}, "db-type object 0: the library threw: "},
    {Found::BrokenDatabases, 3, {"check"}, ""},
    {Found::BrokenDatabases, 3, {"check", "--strict"}, ""},
    {Found::BrokenDatabases, 0, {"explain", "local-port"}, ""},
    {Found::BrokenDatabases, 0, {"explain", "local-node-ips", "northbound"}, ""},
    {Found::BrokenDatabases, 1, {"explain", "wss-ip-address"}, ""},
    {Found::BrokenDatabases, 1, {"explain", "db-info", "absent"}, ""},
    {Found::BrokenDatabases,
     3,
     {"explain", "db-type", "object", "0"},
     "db-type object 0: the library threw: "},
    {Found::BrokenDatabases, 3, {"explain", "--all"}, "db-type object 0: the library threw: "},
    {Found::BrokenDatabases, 0, {"nodes"}, "manager node list does not load"},
    {Found::BrokenDatabases, 0, {"nodes", "n"}, "manager node list does not load"},
    {Found::BrokenDatabases, 1, {"nodes", "n", "m"}, "no node m in either list"},
    {Found::BrokenDatabases, 0, {"map"}, "manager node list does not load"},
    {Found::BrokenDatabases, 0, {"who", "me"}, "manager node list does not load"},
    {Found::BrokenDatabases, 1, {"who", "nobody"}, "nobody appears in no file and no answer"},
    {Found::Nothing, 1, {"who", "n1"}, "n1 appears in no file and no answer"},
    {Found::Nothing, 0, {"show"}, ""},
    {Found::Nothing, 1, {"get", "local-service-ip"}, ""},
    {Found::Nothing, 0, {"get", "--list"}, ""},
    {Found::Nothing, 1, {"explain", "local-service-ip"}, ""},
    {Found::Nothing, 0, {"explain", "--all"}, ""},
    {Found::Nothing, 3, {"check"}, ""},
    {Found::Nothing, 3, {"check", "--strict"}, ""},
    {Found::Nothing, 1, {"nodes"}, "node list does not load"},
    {Found::Nothing, 1, {"map"}, "node list does not load"},
    {Found::Warnings, 0, {"show"}, ""},
    {Found::Warnings, 0, {"get", "local-service-ip"}, ""},
    {Found::Warnings, 0, {"explain", "local-service-ip"}, ""},
    {Found::Warnings, 0, {"explain", "--all"}, ""},
    {Found::Warnings, 0, {"check"}, ""},
    {Found::Warnings, 4, {"check", "--strict"}, ""},
    {Found::Warnings, 0, {"nodes"}, ""},
    {Found::Warnings, 0, {"nodes", "n1"}, ""},
    {Found::Warnings, 0, {"map"}, ""},
    {Found::Clean, 0, {"show"}, ""},
    {Found::Clean, 0, {"get", "local-service-ip"}, ""},
    {Found::Clean, 0, {"explain", "local-service-ip"}, ""},
    {Found::Clean, 0, {"explain", "--all"}, ""},
    {Found::Clean, 0, {"check"}, ""},
    {Found::Clean, 0, {"check", "--strict"}, ""},
    {Found::Clean, 0, {"nodes"}, ""},
    {Found::Clean, 0, {"map"}, ""},
    {Found::Clean, 0, {"who", "node-1"}, ""},
};

support::Deployment deploymentFor(Found found) {
    return found == Found::BrokenDatabases ? brokenDatabases()
           : found == Found::Warnings      ? filesWithWarnings()
                                           : support::Deployment();
}

std::vector<std::string> argumentsFor(const Row& row, const std::string& format) {
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.end(), {"-o", format});
    if (row.found == Found::Clean) {
        arguments.insert(arguments.end(), {"--env-file", tool::kMaster.envFile().string()});
    }
    return arguments;
}

class ExitStatusOf : public testing::TestWithParam<Found> {};

TEST_P(ExitStatusOf, EveryCommand_IsTheSameWithEveryWriter) {
    const support::Deployment deployment = deploymentFor(GetParam());
    for (const Row& row : kRows) {
        if (row.found != GetParam()) {
            continue;
        }
        for (const std::string& format : formatsOf(row.arguments.front())) {
            const std::vector<std::string> arguments = argumentsFor(row, format);
            const auto result = tool::run(arguments);
            EXPECT_EQ(result.exitStatus, row.status) << testing::PrintToString(arguments);
            if (row.message.empty()) {
                EXPECT_THAT(result.errors, IsEmpty()) << testing::PrintToString(arguments);
            } else {
                EXPECT_THAT(result.errors, HasSubstr(row.message))
                    << testing::PrintToString(arguments);
            }
        }
    }
}

std::string nameOf(const testing::TestParamInfo<Found>& row) {
    switch (row.param) {
    case Found::Nothing:
        return "NothingConfigured";
    case Found::BrokenDatabases:
        return "DatabasesThatThrow";
    case Found::Warnings:
        return "FilesWithWarnings";
    case Found::Clean:
        break;
    }
    return "CleanFiles";
}

INSTANTIATE_TEST_SUITE_P(Files, ExitStatusOf,
                         testing::Values(Found::Nothing, Found::BrokenDatabases, Found::Warnings,
                                         Found::Clean),
                         nameOf);

TEST(ExitStatus, EndOfWatch_Is0AndWhileTheLibraryThrows3) {
    for (const auto& [found, status] :
         std::vector<std::pair<Found, int>>{{Found::Nothing, 0}, {Found::BrokenDatabases, 3}}) {
        const support::Deployment deployment = deploymentFor(found);
        for (const std::string& format : formatsOf("watch")) {
            for (const int signal : {SIGINT, SIGTERM}) {
                auto watch = tool::sysconfctl({"watch", "-o", format}).start();
                watch.waitForOutput("all-db-info");
                watch.signal(signal);
                EXPECT_EQ(watch.finish().exitStatus, status) << format << signal;
            }
        }
    }
}

TEST(ExitStatus, NoVariableSet_ShowSaysWhatToSet) {
    for (const char* variable : {"APP_CONF_FILE", "PROCESS_INSTANCE_ID", "APP_ROOT"}) {
        support::setEnvironment(variable, nullptr);
    }
    support::setEnvironment("TOLM_ROOT", "");
    for (const std::string& format : formatsOf("show")) {
        const auto result = tool::run({"show", "-o", format});
        EXPECT_EQ(result.exitStatus, 1) << format;
        EXPECT_EQ(result.output, "") << format;
        EXPECT_THAT(result.errors, HasSubstr("set APP_CONF_FILE, PROCESS_INSTANCE_ID, APP_ROOT "));
    }
    EXPECT_EQ(tool::run({"show", "--set", "TOLM_ROOT=/nowhere"}).exitStatus, 0);
}

TEST(ExitStatus, NothingConfigured_ShowStillAnswers) {
    const support::Deployment deployment;
    for (const std::string& format : formatsOf("show")) {
        const auto result = tool::run({"show", "-o", format});
        EXPECT_EQ(result.exitStatus, 0) << format;
        EXPECT_EQ(result.errors, "") << format;
        EXPECT_THAT(result.output, HasSubstr("standby-internal-service-ip")) << format;
    }
}

TEST(ExitStatus, QueryThatThrows_ShowAnswersTheOthers) {
    const auto deployment = brokenDatabases();
    const auto result = tool::run({"show", "-o", "plain"});
    EXPECT_THAT(result.output, HasSubstr("\ndb-user-name fields 0\tme\n"));
    EXPECT_THAT(result.output, HasSubstr("\nlocal-port\t7\n"));
    EXPECT_THAT(result.output, HasSubstr("\ndb-type object 0\terror: "));
}

const std::vector<Misuse> kMisused = {
    {2, {}, "a command is required"},
    {2, {"frobnicate"}, "frobnicate"},
    {2, {"--frobnicate", "show"}, "unknown option --frobnicate (sysconfctl show --help shows"},
    {2, {"--frobnicate"}, "unknown option --frobnicate ("},
    {2, {"--color", "never"}, "a command is required ("},
    {2, {"show", "--colr=never"}, "unknown option --colr, did you mean --color? ("},
    {2, {"help", "show", "get"}, "unexpected argument get ("},
    {2, {"help", "shwo"}, "unknown command shwo, did you mean show? ("},
    {2, {"version", "show"}, "unexpected argument show ("},
    {2, {"local-port"}, "unknown command local-port, did you mean get local-port? ("},
    {2, {"show", "local-port"}, "local-port"},
    {2, {"show", "bad\033[31m"}, "unexpected argument $'bad\\x1b[31m' ("},
    {2, {"show", "[a]"}, "unexpected argument '[a]' (sysconfctl show --help"},
    {2, {"show", "-o", "xml"}, "xml not in {table,plain,json}"},
    {2, {"show", "-o", "1"}, "1 not in {table,plain,json}"},
    {2, {"show", "-o"}, "--output"},
    {2, {"check", "file"}, "file"},
    {2, {"check", "-o", "svg"}, "svg not in {table,plain,json,sarif,junit,github}"},
    {2, {"explain"}, "either a query or --all"},
    {2, {"explain", "--all", "local-port"}, "either a query or --all"},
    {2, {"explain", "locl-port"}, "unknown query locl-port, did you mean local-port?"},
    {2,
     {"explain", "db-type", "x"},
     "db-type takes other arguments: sysconfctl explain db-type NAME"},
    {2, {"explain", "db-type", "x", "y"}, "not y"},
    {2, {"explain", "local-port", "--color", "blue"}, "blue not in {auto,always,never}"},
    {2, {"nodes", "-o", "dot"}, "dot not in {table,wide,name,plain,json}"},
    {2, {"map", "-o", "wide"}, "wide not in {dot,mermaid,svg,table,plain,json}"},
    {2, {"map", "n1"}, "n1"},
    {2, {"nodes", "--sort", "size"}, "size not in {node,role,"},
    {2, {"map", "--sort", "node"}, "unknown option --sort"},
    {2, {"who"}, "who takes an address, the id of a node, or a tag"},
    {2, {"who", "a", "b"}, "b"},
    {2, {"diff", "a", "b", "-o", "sarif"}, "sarif not in {table,plain,json}"},
    {2, {"show", "--pid"}, "--pid"},
    {2, {"watch", "-o", "text"}, "text not in {table,plain,json}"},
    {2, {"watch", "locl-port"}, "unknown query locl-port, did you mean local-port?"},
    {2, {"watch", "local-port", "db-type x"}, "sysconfctl watch db-type NAME INDEX"},
    {2, {"map", "--local-address"}, "--local-address"},
    {2, {"get"}, "either a query or --list"},
    {2, {"get", "local-port", "--list"}, "either a query or --list"},
    {2, {"get", "locl-port"}, "unknown query locl-port, did you mean local-port?"},
    {2, {"get", "getLocalPrt"}, "unknown query getLocalPrt, did you mean getLocalPort?"},
    {2,
     {"get", "service-ip"},
     "unknown query service-ip, did you mean local-service-ip, local-internal-service-ip or "},
    {2, {"get", "bad\033[31m"}, "unknown query $'bad\\x1b[31m'"},
    {2, {"get", "local-port", "1"}, "local-port takes no arguments"},
    {2, {"get", "db-type", "inventory"}, "sysconfctl get db-type NAME INDEX"},
    {2, {"get", "db-type", "inventory", "0", "0"}, "sysconfctl get db-type NAME INDEX"},
    {2, {"get", "db-type", "inventory", "x"}, "not x"},
    {2, {"get", "db-type", "inventory", ""}, "not ''"},
    {2, {"get", "db-type", "inventory", "1x"}, "not 1x"},
    {2, {"get", "db-type", "inventory", "4294967296"}, "not 4294967296"},
    {2, {"get", "db-access-port", "inventory", "+1"}, "not +1"},
    {2, {"get", "all-float-ip"}, "sysconfctl get all-float-ip TAG..."},
    {2, {"get", "ip-addresses", "assignedToTenancy"}, "sysconfctl get ip-addresses FIELD PREFIX"},
    {2, {"show", "--env-file"}, "--env-file"},
    {2, {"show", "--env-file", "/nowhere/x.env"}, "/nowhere/x.env: No such file or directory"},
    {2, {"show", "--env-file", "/"}, "cannot read the environment file /: Is a directory"},
    {2, {"show", "--set"}, "--set"},
    {2, {"show", "--set", "APP_ROOT"}, "--set: expected KEY=VALUE"},
    {2, {"show", "--set", "=1"}, "--set: the text before \"=\""},
    {2, {"show", "--set", "1A=1"}, "--set: the text before \"=\""},
    {2, {"show", "--set", "APP_ROT=1"}, "unknown variable APP_ROT, did you mean APP_ROOT? ("},
    {2, {"show", "--set", "OTHER=1"}, "--set: unknown variable OTHER ("},
};

TEST(ExitStatus, Misuse_Is2WithAMessageOnStandardErrorOnly) {
    for (const Misuse& row : kMisused) {
        const auto result = tool::run(row.arguments);
        EXPECT_EQ(result.exitStatus, row.status) << testing::PrintToString(row.arguments);
        EXPECT_EQ(result.output, "") << testing::PrintToString(row.arguments);
        EXPECT_THAT(result.errors, StartsWith("sysconfctl: "))
            << testing::PrintToString(row.arguments);
        EXPECT_THAT(result.errors, HasSubstr(row.message));
        EXPECT_THAT(result.errors, Not(HasSubstr("\033")));
    }
}

TEST(ExitStatus, HelpAndVersion_AreAnswers) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"--help"},
                                                                       {"show", "--help"},
                                                                       {"get", "--help"},
                                                                       {"check", "--help"},
                                                                       {"explain", "--help"},
                                                                       {"nodes", "--help"},
                                                                       {"map", "--help"},
                                                                       {"diff", "--help"},
                                                                       {"who", "--help"},
                                                                       {"watch", "--help"},
                                                                       {"exec", "--help"},
                                                                       {"help"},
                                                                       {"help", "get"},
                                                                       {"help", "help"},
                                                                       {"-h"},
                                                                       {"-V"},
                                                                       {"version"},
                                                                       {"--version"}}) {
        const auto result = tool::run(arguments);
        EXPECT_EQ(result.exitStatus, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(result.errors, "") << testing::PrintToString(arguments);
        EXPECT_THAT(result.output, Not(IsEmpty())) << testing::PrintToString(arguments);
    }
}

} // namespace
