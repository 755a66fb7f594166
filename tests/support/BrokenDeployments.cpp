// SPDX-License-Identifier: Apache-2.0
#include "support/BrokenDeployments.h"

#include "support/Deployment.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace support {
namespace {

constexpr const char* kApp1 = "node-1/etc/app.json";
constexpr const char* kApp2 = "node-2/etc/app.json";
constexpr const char* kList1 = "node-1/etc/sysconf/nodelist.json";
constexpr const char* kList2 = "node-2/etc/sysconf/nodelist.json";
constexpr const char* kManagerList = "manager/etc/sysconf/nodelists.json";
constexpr const char* kOwnStandby =
    R"("hostType": "standby", "domain_node_type": "ACCESS_Backup", "HOSTID": "HOST-B")";

const std::vector<std::string> kStandbyHost = {"192.0.2.12", "198.51.100.62"};

std::vector<BrokenDeployment> environmentFaults() {
    return {
        {.name = "app-config-unset",
         .node = "node-1",
         .query = {"local-service-ip"},
         .variables = {{"APP_CONF_FILE", std::nullopt}}},
        {.name = "app-config-missing",
         .node = "node-1",
         .query = {"wss-port"},
         .variables = {{"APP_CONF_FILE", "node-1/etc/aap.json"}}},
        {.name = "app-config-denied",
         .node = "node-1",
         .query = {"maintenance-ip-address"},
         .unreadable = kApp1},
        {.name = "instance-unset",
         .node = "node-1",
         .query = {"local-port"},
         .variables = {{"PROCESS_INSTANCE_ID", std::nullopt}}},
        {.name = "instance-wrong",
         .node = "node-1",
         .query = {"float-node-id"},
         .variables = {{"PROCESS_INSTANCE_ID", "alarm-2"}}},
        {.name = "node-list-missing",
         .node = "node-1",
         .query = {"local-north-ip"},
         .removed = kList1},
        {.name = "manager-root-unset",
         .node = "node-1",
         .query = {"all-float-ip", "service"},
         .variables = {{"TOLM_ROOT", std::nullopt}}},
    };
}

std::vector<BrokenDeployment> processFaults() {
    return {
        {.name = "app-config-truncated",
         .node = "node-1",
         .query = {"local-port"},
         .edits = {{kApp1, "\"CORBA_SSL\": { \"port\": 31501 }\n    }\n  }\n}\n", ""}}},
        {.name = "node-id-missing",
         .node = "node-1",
         .query = {"product-name"},
         .edits = {{kApp1, "      \"nodeId\": \"node-1\",\n", ""}}},
        {.name = "node-id-misspelt",
         .node = "node-1",
         .query = {"local-service-ip"},
         .edits = {{kApp1, "\"nodeId\"", "\"nodeID\""}}},
        {.name = "node-id-unknown",
         .node = "node-1",
         .query = {"local-south-ip"},
         .edits = {{kApp1, "\"node-1\"", "\"node-11\""}}},
        {.name = "port-as-text",
         .node = "node-1",
         .query = {"corba-port"},
         .edits = {{kApp1, "31443", "\"31443\""}}},
        {.name = "key-one-level-up",
         .node = "node-1",
         .query = {"wss-port"},
         .edits = {{kApp1, "\"wss\": { \"ip\": \"192.0.2.11\", \"port\": 31443 }",
                    "\"wss\": { \"ip\": \"192.0.2.11\" },\n      \"port\": 31443"}}},
        {.name = "databases-a-list",
         .node = "node-1",
         .query = {"db-type", "alarms", "0"},
         .edits = {{kApp1, "\"databases\": {", "\"databases\": [],\n  \"dbs\": {"}}},
        {.name = "database-port-as-text",
         .node = "node-1",
         .query = {"db-access-port", "alarms", "0"},
         .edits = {{kApp1, "5432", "\"5432\""}}},
        {.name = "database-field-misspelt",
         .node = "node-1",
         .query = {"db-access-host", "alarms", "0"},
         .edits = {{kApp1, "\"accessHost\"", "\"accesHost\""}}},
    };
}

std::vector<BrokenDeployment> nodeListFaults() {
    return {
        {.name = "node-list-comma",
         .node = "node-1",
         .query = {"local-south-ip"},
         .edits = {{kList1, "[\"southbound3\"] }", "[\"southbound3\"] },"}}},
        {.name = "south-tag-misspelt",
         .node = "node-1",
         .query = {"local-south-ip"},
         .edits = {{kList1, "[\"southbound\"]", "[\"soutbound\"]"},
                   {kList1, "[\"southbound3\"]", "[\"soutbound3\"]"}}},
        {.name = "usage-as-text",
         .node = "node-1",
         .query = {"local-service-ip"},
         .edits = {{kList1, "\"127.0.0.1\", \"usage\": [\"service\"]",
                    "\"127.0.0.1\", \"usage\": \"service\""}}},
        {.name = "entry-without-address",
         .node = "node-1",
         .query = {"local-ip-by-usage", "internal_service"},
         .edits = {{kList1, "\"IP\": \"198.51.100.11\", ", ""}}},
        {.name = "address-as-list",
         .node = "node-1",
         .query = {"local-north-ip"},
         .edits = {{kList1, "\"203.0.113.12\"", "[\"203.0.113.12\"]"}}},
        {.name = "tag-twice",
         .node = "node-1",
         .query = {"local-node-ips", "northbound"},
         .edits = {{kList1, "[\"southbound3\"]", "[\"northbound2\", \"service\"]"}}},
        {.name = "addresses-misspelt",
         .node = "node-1",
         .query = {"local-maintenance-ip"},
         .edits = {{kList1, "\"HOSTID\": \"HOST-A\" },\n      \"IPAddresses\"",
                    "\"HOSTID\": \"HOST-A\" },\n      \"IpAddresses\""}}},
    };
}

std::vector<BrokenDeployment> roleFaults() {
    return {
        {.name = "standby-capital",
         .node = "node-2",
         .query = {"float-node-id"},
         .edits = {{kList2, "\"standby\"", "\"Standby\""}}},
        {.name = "standby-without-source",
         .node = "node-2",
         .query = {"source-node-id"},
         .hostAddresses = kStandbyHost},
        {.name = "failover",
         .node = "node-2",
         .query = {"local-south-ip"},
         .hostAddresses = {"192.0.2.12", "127.0.0.1"}},
        {.name = "no-master",
         .node = "node-1",
         .query = {"master-internal-service-ip"},
         .edits = {{kManagerList, "ACCESS_Master", "Access_Master"}}},
        {.name = "two-masters",
         .node = "node-1",
         .query = {"master-internal-service-ip"},
         .edits =
             {{kManagerList, kOwnStandby,
               R"("hostType": "master", "domain_node_type": "ACCESS_Master", "HOSTID": "X")"}}},
        {.name = "other-tenancy",
         .node = "node-1",
         .query = {"standby-internal-service-ip"},
         .edits = {{kList1, "\"node-1\": {\n      \"assignedToTenancy\": \"core\"",
                    "\"node-1\": {\n      \"assignedToTenancy\": \"Core\""}}},
    };
}

std::string textOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void apply(const Edit& edit, const std::filesystem::path& folder) {
    const std::filesystem::path path = folder / edit.file;
    std::string text = textOf(path);
    const std::size_t at = text.find(edit.from);
    if (at == std::string::npos || text.find(edit.from, at + 1) != std::string::npos) {
        throw std::runtime_error(edit.file + " does not have this exactly once: " + edit.from);
    }
    writeFile(path, text.replace(at, edit.from.size(), edit.to));
}

} // namespace

const std::vector<BrokenDeployment>& brokenDeployments() {
    static const std::vector<BrokenDeployment> all = [] {
        std::vector<BrokenDeployment> collected;
        for (const auto& some :
             {environmentFaults(), processFaults(), nodeListFaults(), roleFaults()}) {
            collected.insert(collected.end(), some.begin(), some.end());
        }
        return collected;
    }();
    return all;
}

void writeDeployment(const BrokenDeployment& deployment, const std::filesystem::path& pair,
                     const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    for (const char* file : {kApp1, kApp2, kList1, kList2, kManagerList}) {
        writeFile(folder / file, textOf(pair / file));
    }
    for (const Edit& edit : deployment.edits) {
        apply(edit, folder);
    }
    if (!deployment.removed.empty()) {
        fs::remove(folder / deployment.removed);
    }
    if (!deployment.unreadable.empty()) {
        fs::permissions(folder / deployment.unreadable, fs::perms::none);
    }
}

std::vector<std::pair<std::string, std::optional<std::string>>>
environmentOf(const BrokenDeployment& deployment) {
    std::vector<std::pair<std::string, std::optional<std::string>>> variables = {
        {"APP_CONF_FILE", deployment.node + "/etc/app.json"},
        {"PROCESS_INSTANCE_ID", "alarm-1"},
        {"APP_ROOT", deployment.node},
        {"TOLM_ROOT", "manager"},
    };
    for (const auto& [name, value] : deployment.variables) {
        for (auto& variable : variables) {
            if (variable.first == name) {
                variable.second = value;
            }
        }
    }
    return variables;
}

} // namespace support
