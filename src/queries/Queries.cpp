// SPDX-License-Identifier: Apache-2.0
#include "queries/Queries.h"

namespace Quarncommon::queries {
namespace {

using namespace library;

constexpr std::string_view kProcess = "This process";
constexpr std::string_view kNode = "This node and its role";
constexpr std::string_view kAddresses = "Addresses of this node";
constexpr std::string_view kAllNodes = "All nodes";
constexpr std::string_view kDatabases = "Databases";

std::vector<Query> processQueries() {
    return {
        {"app-root", "GetAppRoot", kProcess, "install root of the local configuration",
         text<&SysConfReader::GetAppRoot>},
        {"localhost-ip-address", "getLocalhostIPAddress", kProcess, "local address",
         text<&SysConfReader::getLocalhostIPAddress>},
        {"local-port", "getLocalPort", kProcess, "local port (0: none)",
         number<&SysConfReader::getLocalPort>},
        {"maintenance-ip-address", "getMaintenanceIPAddress", kProcess,
         "maintenance address of this process", text<&SysConfReader::getMaintenanceIPAddress>},
        {"wss-ip-address", "GetWssIPAddress", kProcess, "secure web-socket address",
         text<&SysConfReader::GetWssIPAddress>},
        {"wss-port", "GetWssPort", kProcess, "secure web-socket port (0: none)",
         number<&SysConfReader::GetWssPort>},
        {"corba-port", "getCorbaPort", kProcess, "CORBA port (0: none)",
         number<&SysConfReader::getCorbaPort>},
        {"corba-ssl-port", "getCorbaSSLPort", kProcess, "CORBA port over SSL (0: none)",
         number<&SysConfReader::getCorbaSSLPort>},
    };
}

std::vector<Query> nodeQueries() {
    return {
        {"float-node-id", "getFloatNodeId", kNode, "node answered for: own, or stood in for",
         text<&SysConfReader::getFloatNodeId>},
        {"source-node-id", "getSourceNodeId", kNode, "node whose service address this host carries",
         sourceNodeId},
        {"local-host-tag-name", "getLocalHostTagName", kNode, "host tag of the float node",
         text<&SysConfReader::getLocalHostTagName>},
        {"product-name", "GetProductName", kNode, "tenancy of this node",
         role<&SysConfReader_i::GetProductName>},
        {"local-internal-service-ip", "GetLocalInternalServiceIP", kNode,
         "internal-service address of this node",
         role<&SysConfReader_i::GetLocalInternalServiceIP>},
        {"master-internal-service-ip", "GetMasterInternalServiceIP", kNode,
         "internal-service address of the master",
         text<&SysConfReader::GetMasterInternalServiceIP>},
        {"standby-internal-service-ip", "GetStandbyInternalServiceIP", kNode,
         "internal-service address of the standby",
         text<&SysConfReader::GetStandbyInternalServiceIP>},
    };
}

std::vector<Query> addressQueries() {
    return {
        {"local-maintenance-ip", "getLocalMaintenanceIP", kAddresses,
         "maintenance address of this very node", text<&SysConfReader::getLocalMaintenanceIP>},
        {"local-service-ip", "getLocalServiceIP", kAddresses,
         "service address, else maintenance-ip-address", text<&SysConfReader::getLocalServiceIP>},
        {"local-service2-ip", "getLocalService2IP", kAddresses, "second service address",
         text<&SysConfReader::getLocalService2IP>},
        {.name = "local-ip-by-usage",
         .operation = "getLocalIPByUsage",
         .section = kAddresses,
         .help = "first address with the tag USAGE",
         .ask = localIpByUsage,
         .parameters = {{"USAGE", Completes::Tags}},
         .shownWith = {"internal_service"}},
        {"local-north-ip", "getLocalNorthIP", kAddresses,
         "addresses towards upper systems, by slots", text<&SysConfReader::getLocalNorthIP>},
        {"local-south-ip", "getLocalSouthIP", kAddresses,
         "addresses towards managed equipment, by slots", text<&SysConfReader::getLocalSouthIP>},
        {"pf-type", "getPFType", kAddresses, "south protocols: 0 IPv4, 1 IPv6, 2 both",
         number<&SysConfReader::getPFType>},
        {.name = "local-node-ips",
         .operation = "getLocalNodeIPs",
         .section = kAddresses,
         .help = "addresses by the number in PREFIX tags",
         .ask = localNodeIps,
         .parameters = {{"PREFIX", Completes::TagPrefixes}},
         .shownWith = {"northbound"}},
        {.name = "local-node-ips-by-tag",
         .operation = "getLocalNodeIPs",
         .section = kAddresses,
         .help = "southbound addresses, and of each TAG, by tag",
         .ask = localNodeIpsByTag,
         .parameters = {{"TAG", Completes::Tags, Occurs::AnyTimes}}},
    };
}

std::vector<Query> allNodesQueries() {
    return {
        {.name = "ip-addresses",
         .operation = "getIPAddresses",
         .section = kAllNodes,
         .help = "addresses of nodes whose FIELD begins so",
         .ask = ipAddresses,
         .parameters = {{"FIELD", Completes::Fields}, {"PREFIX", Completes::FieldPrefixes}},
         .shown = Shown::ForLocalTenancy,
         .shownWith = {"assignedToTenancy"}},
        {.name = "all-float-ip",
         .operation = "getAllFloatIP",
         .section = kAllNodes,
         .help = "addresses with any lower-case TAG, by node",
         .ask = allFloatIp,
         .parameters = {{"TAG", Completes::Tags, Occurs::OnceOrMore}},
         .shownWith = {"service", "service2"}},
    };
}

Query entryQuery(std::string_view name, std::string_view operation, std::string_view help,
                 Answer (*ask)(const Arguments&), Secret secret = Secret::LoginData) {
    return {.name = name,
            .operation = operation,
            .section = kDatabases,
            .help = help,
            .ask = ask,
            .parameters = {{"NAME", Completes::Databases}, {"INDEX", Completes::DatabaseEntries}},
            .secret = secret,
            .shown = Shown::EachDatabaseEntry};
}

std::vector<Query> databaseQueries() {
    return {
        {.name = "all-db-info",
         .operation = "getAllDBInfo",
         .section = kDatabases,
         .help = "all databases as JSON (secret)",
         .ask = allDatabases,
         .secret = Secret::Databases},
        {.name = "db-info",
         .operation = "getDBInfo",
         .section = kDatabases,
         .help = "entries of database NAME as JSON (secret)",
         .ask = database,
         .parameters = {{"NAME", Completes::Databases}},
         .secret = Secret::Database,
         .shown = Shown::EachDatabase},
        entryQuery("db-type", "getDBType", "type of entry INDEX",
                   databaseText<&SysConfReader::getDBType>),
        entryQuery("db-access-host", "getDBAccessHost", "host of entry INDEX",
                   databaseText<&SysConfReader::getDBAccessHost>),
        entryQuery("db-access-port", "getDBAccessPort", "port of entry INDEX (0: none)",
                   databasePort, Secret::None),
        entryQuery("db-user-name", "getDBUserName", "user of entry INDEX",
                   databaseText<&SysConfReader::getDBUserName>),
        entryQuery("db-password", "getDBPassword", "password of entry INDEX (secret)",
                   databaseText<&SysConfReader::getDBPassword>, Secret::Whole),
        entryQuery("db-service-name", "getDBServiceName", "service of entry INDEX",
                   databaseText<&SysConfReader::getDBServiceName>),
        entryQuery("db-server-name", "getDBServerName", "server of entry INDEX",
                   databaseText<&SysConfReader::getDBServerName>),
        entryQuery("db-lib", "getDBLib", "client library of entry INDEX",
                   databaseText<&SysConfReader::getDBLib>),
    };
}

std::vector<Query> allQueries() {
    std::vector<Query> all;
    for (const auto& section : {processQueries(), nodeQueries(), addressQueries(),
                                allNodesQueries(), databaseQueries()}) {
        all.insert(all.end(), section.begin(), section.end());
    }
    return all;
}

} // namespace

const std::vector<Query>& queries() {
    // Never destroyed: a thread may query while the process exits.
    static const std::vector<Query>& all = *new std::vector<Query>(allQueries());
    return all;
}

const Query* queryNamed(std::string_view name) {
    for (const Query& query : queries()) {
        if (query.name == name) {
            return &query;
        }
    }
    return nullptr;
}

bool takesArguments(const Query& query, std::size_t number) {
    const bool open = !query.parameters.empty() && query.parameters.back().occurs != Occurs::Once;
    const bool optional = open && query.parameters.back().occurs == Occurs::AnyTimes;
    const std::size_t least = query.parameters.size() - (optional ? 1 : 0);
    return number >= least && (open || number <= query.parameters.size());
}

} // namespace Quarncommon::queries
