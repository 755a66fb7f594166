#include "Queries.h"

#include "SysConfReader.h"
#include "support/Deployment.h"

#include <json/writer.h>

namespace queries {

namespace {

using Quarncommon::SysConfReader;

SysConfReader& reader() {
    return *SysConfReader::Instance();
}

std::string text(const std::string& answer) {
    return answer;
}

std::string text(int answer) {
    return std::to_string(answer);
}

template <typename Answer>
Query plain(const char* name, Reads reads, std::size_t locks, Answer (SysConfReader::*query)()) {
    return {name, reads, locks, [query] { return text((reader().*query)()); }};
}

template <typename Answer>
Query database(const char* name, Answer (SysConfReader::*query)(const std::string&, unsigned int)) {
    return {name, Reads::Nothing, 1, [query] { return text((reader().*query)("db", 0)); }};
}

std::string databaseInfo() {
    Json::Value info("old");
    const int result = reader().getDBInfo("db", info);
    return text(result) + Json::writeString(Json::StreamWriterBuilder(), info);
}

std::string allDatabases() {
    std::map<std::string, Json::Value> all{{"old", Json::Value()}};
    std::string answer = text(reader().getAllDBInfo(all));
    for (const auto& [name, info] : all) {
        answer += name + Json::writeString(Json::StreamWriterBuilder(), info);
    }
    return answer;
}

std::string managersAddresses() {
    std::list<std::string> addresses{"old"};
    std::string answer = text(reader().getIPAddresses("kind", "k", addresses));
    for (const std::string& address : addresses) {
        answer += " " + address;
    }
    return answer;
}

std::string floatAddresses() {
    std::map<std::string, std::set<std::string>> byNode{{"old", {}}};
    std::string answer = text(reader().getAllFloatIP({"service", "float"}, byNode));
    for (const auto& [node, addresses] : byNode) {
        answer += " " + node + ":";
        for (const std::string& address : addresses) {
            answer += address + ",";
        }
    }
    return answer;
}

std::string addressesByNumber() {
    std::map<int, std::string> byNumber;
    std::string service = "old";
    std::string service2 = "old";
    reader().getLocalNodeIPs("northbound", byNumber, service, service2);
    std::string answer = service + " " + service2;
    for (const auto& [number, address] : byNumber) {
        answer += " " + std::to_string(number) + ":" + address;
    }
    return answer;
}

std::string addressesByTag() {
    std::map<std::string, std::string> byTag{{"float", "old"}};
    reader().getLocalNodeIPs(byTag);
    std::string answer = std::to_string(byTag.size());
    for (const auto& [tag, address] : byTag) {
        answer += address.empty() && tag != "service" ? "" : " " + tag + ":" + address;
    }
    return answer;
}

std::string sourceNode() {
    std::string id = "old";
    reader().getSourceNodeId(id);
    return id;
}

std::string address(const std::string& ip, const std::string& tags) {
    return R"({"IP":")" + ip + R"(","usage":[)" + tags + "]},";
}

std::string node(const std::string& mark) {
    return R"({"kind":"k)" + mark + R"(","extAttr":{"HOSTID":"tag)" + mark +
           R"("},"IPAddresses":[)" + address("1." + mark, R"("northbound")") +
           address("2." + mark, R"("northbound5","southbound")") +
           address("3." + mark, R"("southbound12","SOUTHBOUND2")") +
           address("4." + mark, R"("Maintenance","float")") +
           address("5." + mark, R"("service2","x")") + R"({"IP":"6.)" + mark +
           R"(","usage":["service"]}]})";
}

std::string list(const std::string& mark, std::size_t furtherNodes) {
    std::string text = R"({"nodeList":{"n1":)" + node(mark);
    for (std::size_t n = 0; n < furtherNodes; ++n) {
        text += R"(,"further)" + std::to_string(n) + mark + R"(":)" + node(mark);
    }
    return text + "}}";
}

} // namespace

const std::vector<Query>& all() {
    static const std::vector<Query> table{
        plain("getLocalPort", Reads::Nothing, 1, &SysConfReader::getLocalPort),
        plain("getCorbaPort", Reads::Nothing, 1, &SysConfReader::getCorbaPort),
        plain("getCorbaSSLPort", Reads::Nothing, 1, &SysConfReader::getCorbaSSLPort),
        plain("GetWssPort", Reads::Nothing, 1, &SysConfReader::GetWssPort),
        plain("GetWssIPAddress", Reads::Nothing, 1, &SysConfReader::GetWssIPAddress),
        plain("getLocalhostIPAddress", Reads::Nothing, 1, &SysConfReader::getLocalhostIPAddress),
        plain("getMaintenanceIPAddress", Reads::Nothing, 1,
              &SysConfReader::getMaintenanceIPAddress),
        plain("getLocalHostTagName", Reads::Nothing, 1, &SysConfReader::getLocalHostTagName),
        plain("getFloatNodeId", Reads::Nothing, 1, &SysConfReader::getFloatNodeId),
        plain("GetAppRoot", Reads::Nothing, 0, &SysConfReader::GetAppRoot),
        {"getDBInfo", Reads::Nothing, 1, databaseInfo},
        {"getAllDBInfo", Reads::Nothing, 1, allDatabases},
        database("getDBAccessPort", &SysConfReader::getDBAccessPort),
        database("getDBType", &SysConfReader::getDBType),
        database("getDBUserName", &SysConfReader::getDBUserName),
        database("getDBServiceName", &SysConfReader::getDBServiceName),
        database("getDBPassword", &SysConfReader::getDBPassword),
        database("getDBServerName", &SysConfReader::getDBServerName),
        database("getDBAccessHost", &SysConfReader::getDBAccessHost),
        database("getDBLib", &SysConfReader::getDBLib),
        {"getLocalIPByUsage", Reads::NodeList, 1, [] { return reader().getLocalIPByUsage("x"); }},
        plain("getLocalMaintenanceIP", Reads::NodeList, 1, &SysConfReader::getLocalMaintenanceIP),
        plain("getLocalServiceIP", Reads::NodeList, 1, &SysConfReader::getLocalServiceIP),
        plain("getLocalService2IP", Reads::NodeList, 1, &SysConfReader::getLocalService2IP),
        {"getLocalNodeIPs by number", Reads::NodeList, 0, addressesByNumber},
        {"getLocalNodeIPs by tag", Reads::NodeList, 0, addressesByTag},
        plain("getLocalNorthIP", Reads::NodeList, 0, &SysConfReader::getLocalNorthIP),
        plain("getLocalSouthIP", Reads::NodeList, 1, &SysConfReader::getLocalSouthIP),
        plain("getPFType", Reads::NodeList, 2, &SysConfReader::getPFType),
        {"getIPAddresses", Reads::ManagerNodeList, 1, managersAddresses},
        {"getAllFloatIP", Reads::ManagerNodeList, 1, floatAddresses},
        {"getSourceNodeId", Reads::NodeList, 0, sourceNode},
    };
    return table;
}

std::vector<Query> reading(Reads reads) {
    std::vector<Query> some;
    for (const Query& query : all()) {
        if (query.reads == reads) {
            some.push_back(query);
        }
    }
    return some;
}

std::string appConfig(const std::string& mark) {
    return R"({"databases":{"db":[{"accessPort":5,"type":"t)" + mark + R"(","user":"u)" + mark +
           R"(","serviceName":"s)" + mark + R"(","passwd":"p)" + mark + R"(","serverName":"v)" +
           mark + R"(","accessHost":"h)" + mark + R"(","instanceExt":{"lib":"l)" + mark +
           R"("}}]},"processes":{"p1":{"nodeId":"n1","IR":{"ip":"M)" + mark +
           R"("},"local":{"ip":"L)" + mark + R"(","port":1},"wss":{"ip":"W)" + mark +
           R"(","port":2},"CORBA":{"port":3},"CORBA_SSL":{"port":4}}}})";
}

std::string nodeList(const std::string& mark, std::size_t furtherNodes) {
    return list(mark, furtherNodes);
}

std::string managerNodeList(const std::string& mark, std::size_t furtherNodes) {
    return list(mark, furtherNodes);
}

void write(support::Deployment& files, const std::string& mark) {
    files.appConfig(appConfig(mark))
        .nodeList(nodeList(mark))
        .managerNodeList(managerNodeList(mark));
}

} // namespace queries
