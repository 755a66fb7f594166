// SPDX-License-Identifier: Apache-2.0
// Deployments that are valid, however unusual: check has neither errors nor warnings for them.

#include "Sysconfctl.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

namespace {

struct Row {
    std::string name;
    std::string appConfig;
    std::string nodeList;
    /// Empty: there is no such file, and TOLM_ROOT is not set.
    std::string managerNodeList;
};

const std::string kNode = R"("n": {"assignedToTenancy": "t",
"extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master", "HOSTID": "h"},
"IPAddresses": [{"IP": "192.0.2.1", "usage": ["maintenance"]},
{"IP": "192.0.2.2", "usage": ["service"]}]})";
const std::string kStandbyNode = R"("s": {"assignedToTenancy": "t",
"extAttr": {"hostType": "standby", "domain_node_type": "ACCESS_Backup", "HOSTID": "i"},
"IPAddresses": [{"IP": "192.0.2.3", "usage": ["maintenance"]},
{"IP": "192.0.2.4", "usage": ["service"]}]})";

std::string list(const std::string& nodes) {
    return "{\"nodeList\": {" + nodes + "}}";
}

std::string replaced(std::string text, const std::string& before, const std::string& after) {
    const std::size_t at = text.find(before);
    EXPECT_NE(at, std::string::npos) << before;
    return at == std::string::npos ? text : text.replace(at, before.size(), after);
}

const std::string kPair = list(kNode + ", " + kStandbyNode);

std::string app(const std::string& process, const std::string& databases = "{}") {
    return "{\"databases\": " + databases + ", \"processes\": {\"p1\": " + process + "}}";
}

const std::string kApp = app(R"({"nodeId": "n", "IR": {"ip": "192.0.2.1"},
"local": {"ip": "127.0.0.1", "port": 1}, "wss": {"ip": "192.0.2.1", "port": 2},
"CORBA": {"port": 3}, "CORBA_SSL": {"port": 4}})");

std::string database(const std::string& fields) {
    return app(R"({"nodeId": "n", "IR": {"ip": "192.0.2.1"}})", "{\"d\": [{" + fields + "}]}");
}

const std::string kServer = R"("type": "postgresql", "accessPort": 5432, "user": "u",
"passwd": "p", "serviceName": "s", "serverName": "d", "instanceExt": {"lib": "l"}, )";

std::string withEntry(const std::string& entry) {
    return replaced(kPair, R"({"IP": "192.0.2.2",)", entry + ", " + R"({"IP": "192.0.2.2",)");
}

std::string withCollector() {
    return list(kNode + ", " + kStandbyNode + R"(, "c": {"assignedToTenancy": "t",
"extAttr": {"hostType": "", "domain_node_type": "COLLECT", "HOSTID": "c"},
"IPAddresses": [{"IP": "192.0.2.9", "usage": ["maintenance"]},
{"IP": "192.0.2.10", "usage": ["southbound"]}]})");
}

std::string withManager() {
    return list(kNode + ", " + kStandbyNode + R"(, "omc": {"assignedToTenancy": "management",
"extAttr": {"hostType": "master", "domain_node_type": "OMC", "HOSTID": "m"},
"IPAddresses": [{"IP": "192.0.2.20", "usage": ["maintenance"]}]})");
}

std::string withSharedAddress() {
    std::string text = kPair;
    for (const char* own : {"192.0.2.2", "192.0.2.4"}) {
        text = replaced(text, "{\"IP\": \"" + std::string(own) + "\", \"usage\": [\"service\"]}",
                        "{\"IP\": \"" + std::string(own) +
                            "\", \"usage\": [\"service\"]}, {\"IP\": \"192.0.2.100\", \"usage\": "
                            "[\"northbound\", \"vip\"]}");
    }
    return text;
}

const std::vector<Row> kRows = {
    {"a pair", kApp, kPair, kPair},
    {"the standby of a pair",
     replaced(replaced(replaced(kApp, "\"n\"", "\"s\""), "192.0.2.1", "192.0.2.3"), "192.0.2.1",
              "192.0.2.3"),
     kPair, kPair},
    {"a single node", kApp,
     list(R"("n": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["maintenance"]}]})"),
     list(R"("n": {"IPAddresses": [{"IP": "192.0.2.1", "usage": ["maintenance"]}]})")},
    {"a master without a standby", kApp, list(kNode), list(kNode)},
    {"no manager node list", kApp, kPair, ""},
    {"databases empty", kApp, kPair, kPair},
    {"no databases", R"({"processes": {"p1": {"nodeId": "n", "IR": {"ip": "192.0.2.1"}}}})", kPair,
     kPair},
    {"a process without WSS",
     app(R"({"nodeId": "n", "IR": {"ip": "192.0.2.1"}, "local": {"ip": "127.0.0.1", "port": 1}})"),
     kPair, kPair},
    {"a process without CORBA",
     app(R"({"nodeId": "n", "IR": {"ip": "192.0.2.1"}, "wss": {"ip": "192.0.2.1", "port": 2}})"),
     kPair, kPair},
    {"a process without ports",
     app(R"({"nodeId": "n", "IR": {"ip": "192.0.2.1"}, "local": {"ip": "127.0.0.1"}})"), kPair,
     kPair},
    {"a process with its node only", app(R"({"nodeId": "n"})"), kPair, kPair},
    {"a collector without a service address", app(R"({"nodeId": "c", "IR": {"ip": "192.0.2.9"}})"),
     withCollector(), withCollector()},
    {"the manager's own tenancy", kApp, kPair, withManager()},
    {"a process of the manager", app(R"({"nodeId": "omc", "IR": {"ip": "192.0.2.20"}})"),
     withManager(), withManager()},
    {"a host name as database host",
     database(kServer + R"("accessHost": "db-1.cluster.example.org")"), kPair, kPair},
    {"a database in a file",
     database(
         R"("type": "sqlite", "serviceName": "/var/lib/app/a.db", "instanceExt": {"lib": "l"})"),
     kPair, kPair},
    {"a database in a file with empty fields",
     database(R"("type": "SQLite3", "accessHost": "", "accessPort": 0, "user": "", "passwd": "",
"serviceName": "a.db", "serverName": "", "instanceExt": {"lib": "libsqlite3.so.0"})"),
     kPair, kPair},
    {"an address that a pair shares", kApp, withSharedAddress(), withSharedAddress()},
    {"an address with a scope", kApp,
     withEntry(R"({"IP": "fe80::1%eth0", "usage": ["linklocal"]})"),
     withEntry(R"({"IP": "fe80::1%eth0", "usage": ["linklocal"]})")},
    {"own tags", kApp, withEntry(R"({"IP": "192.0.2.7", "usage": ["service3", "backup-lan"]})"),
     withEntry(R"({"IP": "192.0.2.7", "usage": ["service3", "backup-lan"]})")},
    {"tags in any case", kApp, replaced(kPair, "[\"service\"]", "[\"SerVice\"]"),
     replaced(kPair, "[\"service\"]", "[\"SerVice\"]")},
    {"a local host by name",
     app(R"({"nodeId": "n", "IR": {"ip": "192.0.2.1"}, "local": {"ip": "localhost", "port": 1}})"),
     kPair, kPair},
};

TEST(CheckHealthy, UnusualDeployment_HasNeitherErrorNorWarning) {
    support::Deployment deployment;
    const std::string managerRoot = deployment.managerRoot();
    for (const Row& row : kRows) {
        deployment.appConfig(row.appConfig).nodeList(row.nodeList);
        const bool managed = !row.managerNodeList.empty();
        if (managed) {
            deployment.managerNodeList(row.managerNodeList);
        } else {
            std::filesystem::remove_all(managerRoot);
        }
        support::setEnvironment("TOLM_ROOT", managed ? managerRoot.c_str() : nullptr);
        const auto result = tool::run({"check", "--strict", "--local-address", "192.0.2.77"});
        EXPECT_EQ(result.exitStatus, 0) << row.name << '\n' << result.output;
        EXPECT_EQ(tool::linesOf(result.output).size(), 1U) << row.name << '\n' << result.output;
        EXPECT_THAT(result.output, testing::StartsWith("no problem found in ")) << row.name;
    }
}

} // namespace
