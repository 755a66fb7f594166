// SPDX-License-Identifier: Apache-2.0
// Prints the answers of the classes to the questions of the command line, each in one word: one
// JSON object; null is no answer, {"error": ...} an exception.

#include <SysConfReader.h>
#include <SysConfReader_i.h>

#include <json/writer.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <iostream>
#include <list>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

Quarncommon::SysConfReader& reader() {
    return *Quarncommon::SysConfReader::Instance();
}

Quarncommon::SysConfReader_i& roles() {
    return *Quarncommon::SysConfReader_i::Instance();
}

Json::Value text(const std::string& answer) {
    return answer.empty() ? Json::Value() : Json::Value(answer);
}

Json::Value number(int answer) {
    return answer == -1 ? Json::Value() : Json::Value(answer);
}

template <typename List>
Json::Value list(const List& answers) {
    Json::Value value(Json::arrayValue);
    for (const std::string& answer : answers) {
        value.append(answer);
    }
    return value;
}

Json::Value sourceNode() {
    std::string id;
    reader().getSourceNodeId(id);
    return text(id);
}

Json::Value byNumber(const std::string& prefix) {
    std::map<int, std::string> numbers;
    std::string service;
    std::string service2;
    reader().getLocalNodeIPs(prefix, numbers, service, service2);
    Json::Value value(Json::objectValue);
    for (const auto& [slot, address] : numbers) {
        value[std::to_string(slot)] = address;
    }
    for (const auto& [key, address] : {std::pair("service", service), {"service2", service2}}) {
        if (!address.empty()) {
            value[key] = address;
        }
    }
    return value;
}

Json::Value byTag(const Texts& tags) {
    std::map<std::string, std::string> answers;
    for (const std::string& tag : tags) {
        answers[tag];
    }
    reader().getLocalNodeIPs(answers);
    Json::Value value(Json::objectValue);
    for (const auto& [tag, address] : answers) {
        // The queries leave out the southbound tags without an address.
        const bool asked = std::find(tags.begin(), tags.end(), tag) != tags.end();
        if (asked || !address.empty() || tag.rfind("southbound", 0) != 0) {
            value[tag] = address;
        }
    }
    return value;
}

Json::Value ofNodes(const std::string& field, const std::string& prefix) {
    std::list<std::string> addresses;
    const int result = reader().getIPAddresses(field, prefix, addresses);
    return result == 0 ? list(addresses) : Json::Value();
}

Json::Value floating(const Texts& tags) {
    std::map<std::string, std::set<std::string>> nodes;
    if (reader().getAllFloatIP({tags.begin(), tags.end()}, nodes) != 0) {
        return {};
    }
    Json::Value value(Json::objectValue);
    for (const auto& [id, addresses] : nodes) {
        value[id] = list(addresses);
    }
    return value;
}

Json::Value database(const std::string& name) {
    Json::Value info;
    return reader().getDBInfo(name, info) == 0 ? info : Json::Value();
}

Json::Value databases() {
    std::map<std::string, Json::Value> all;
    if (reader().getAllDBInfo(all) != 0) {
        return {};
    }
    Json::Value value(Json::objectValue);
    for (const auto& [name, info] : all) {
        value[name] = info;
    }
    return value;
}

unsigned int index(const Texts& arguments) {
    return static_cast<unsigned int>(std::stoul(arguments.at(1)));
}

using Ask = std::function<Json::Value(const Texts&)>;

const std::map<std::string, Ask>& table() {
    static const std::map<std::string, Ask> all = {
        {"app-root", [](auto&) { return text(reader().GetAppRoot()); }},
        {"localhost-ip-address", [](auto&) { return text(reader().getLocalhostIPAddress()); }},
        {"local-port", [](auto&) { return number(reader().getLocalPort()); }},
        {"maintenance-ip-address", [](auto&) { return text(reader().getMaintenanceIPAddress()); }},
        {"wss-ip-address", [](auto&) { return text(reader().GetWssIPAddress()); }},
        {"wss-port", [](auto&) { return number(reader().GetWssPort()); }},
        {"corba-port", [](auto&) { return number(reader().getCorbaPort()); }},
        {"corba-ssl-port", [](auto&) { return number(reader().getCorbaSSLPort()); }},
        {"float-node-id", [](auto&) { return text(reader().getFloatNodeId()); }},
        {"source-node-id", [](auto&) { return sourceNode(); }},
        {"local-host-tag-name", [](auto&) { return text(reader().getLocalHostTagName()); }},
        {"product-name", [](auto&) { return text(roles().GetProductName()); }},
        {"local-internal-service-ip",
         [](auto&) { return text(roles().GetLocalInternalServiceIP()); }},
        {"master-internal-service-ip",
         [](auto&) { return text(reader().GetMasterInternalServiceIP()); }},
        {"standby-internal-service-ip",
         [](auto&) { return text(reader().GetStandbyInternalServiceIP()); }},
        {"local-maintenance-ip", [](auto&) { return text(reader().getLocalMaintenanceIP()); }},
        {"local-service-ip", [](auto&) { return text(reader().getLocalServiceIP()); }},
        {"local-service2-ip", [](auto&) { return text(reader().getLocalService2IP()); }},
        {"local-ip-by-usage",
         [](auto& words) { return text(reader().getLocalIPByUsage(words.at(0))); }},
        {"local-north-ip", [](auto&) { return text(reader().getLocalNorthIP()); }},
        {"local-south-ip", [](auto&) { return text(reader().getLocalSouthIP()); }},
        {"pf-type", [](auto&) { return number(reader().getPFType()); }},
        {"local-node-ips", [](auto& words) { return byNumber(words.at(0)); }},
        {"local-node-ips-by-tag", byTag},
        {"ip-addresses", [](auto& words) { return ofNodes(words.at(0), words.at(1)); }},
        {"all-float-ip", floating},
        {"all-db-info", [](auto&) { return databases(); }},
        {"db-info", [](auto& words) { return database(words.at(0)); }},
        {"db-type", [](auto& words) { return text(reader().getDBType(words[0], index(words))); }},
        {"db-access-host",
         [](auto& words) { return text(reader().getDBAccessHost(words[0], index(words))); }},
        {"db-access-port",
         [](auto& words) { return number(reader().getDBAccessPort(words[0], index(words))); }},
        {"db-user-name",
         [](auto& words) { return text(reader().getDBUserName(words[0], index(words))); }},
        {"db-password",
         [](auto& words) { return text(reader().getDBPassword(words[0], index(words))); }},
        {"db-service-name",
         [](auto& words) { return text(reader().getDBServiceName(words[0], index(words))); }},
        {"db-server-name",
         [](auto& words) { return text(reader().getDBServerName(words[0], index(words))); }},
        {"db-lib", [](auto& words) { return text(reader().getDBLib(words[0], index(words))); }},
    };
    return all;
}

Json::Value answer(const std::string& question) {
    std::istringstream stream(question);
    std::string query;
    stream >> query;
    Texts arguments;
    for (std::string word; stream >> word;) {
        arguments.push_back(word);
    }
    try {
        return table().at(query)(arguments);
    } catch (const Json::Exception&) {
        Json::Value error;
        error["error"] = "wrong type";
        return error;
    }
}

} // namespace

int main(int argc, char** argv) {
    Json::Value answers(Json::objectValue);
    for (int i = 1; i < argc; ++i) {
        answers[argv[i]] = answer(argv[i]);
    }
    std::cout << Json::writeString(Json::StreamWriterBuilder(), answers) << '\n';
    Quarncommon::SysConfReader::Destory();
}
