// SPDX-License-Identifier: Apache-2.0
#include "generator/Deployment.h"

#include <array>
#include <chrono>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace generator {

namespace {

std::string numbered(std::string text, std::uint64_t number) {
    return text.append(std::to_string(number));
}

class Nodes {
public:
    Nodes(const Shape& shape, JsonText& json)
        : m_random(shape.seed), m_own(ownNodeId(shape.nodes)), m_json(json) {}

    void node(unsigned index) {
        const bool master = index % 2 == 0;
        const std::string id = numbered("node-", index + 1);
        m_json.name(id).object();
        member("name", numbered("network element server ", index + 1));
        member("assignedToTenancy", numbered("tenancy-", index / 2 % 4));
        m_json.name("extAttr").object();
        member("hostType", master ? "master" : "standby");
        member("domain_node_type", master ? "ACCESS_Master" : "ACCESS_Backup");
        member("HOSTID", numbered("HOST-", index + 1));
        member("timezone", "UTC");
        member("rack", numbered("R", below(40)));
        m_json.name("slot").number(below(16)).name("spare").value("null").end();
        hardware();
        addresses(id == m_own ? "127.0.0.1" : address(1, index), index);
        software();
        member("description", R"(\"primary\" site, r\u00e9seau d\u2019acc\u00e8s)");
        m_json.name("enabled").value(below(8) != 0 ? "true" : "false").end();
    }

private:
    unsigned below(unsigned n) { return static_cast<unsigned>(m_random() % n); }

    void member(std::string_view name, std::string_view text) { m_json.name(name).text(text); }

    void hardware() {
        static constexpr std::array kModels{"rack-1u", "rack-2u", "blade"};
        m_json.name("hardware").object();
        member("model", kModels[below(kModels.size())]);
        member("serial", numbered("SN", m_random()));
        m_json.name("cpus").number(8U << below(4)).name("memoryMB").number(16384U << below(4));
        m_json.name("load").value(numbered("0.", below(1000)) + "e1").end();
    }

    void software() {
        m_json.name("software").array();
        for (const char* component : {"os", "database", "runtime"}) {
            m_json.object();
            member("name", component);
            const std::string major = std::to_string(below(9));
            member("version", major + numbered(".", below(30)));
            m_json.end();
        }
        m_json.end();
    }

    /// One in eight is IPv6.
    std::string address(unsigned network, unsigned index) {
        const std::string high = std::to_string(50 * network + index / 250);
        const std::string low = std::to_string(index % 250 + 1);
        return below(8) == 0 ? "2001:db8::" + high + ":" + low : "198.18." + high + "." + low;
    }

    void addresses(const std::string& service, unsigned index) {
        m_json.name("IPAddresses").array();
        entry(address(0, index), {"maintenance"});
        entry(service, {below(4) == 0 ? "Service" : "service"});
        entry(address(2, index), {"internal_service", "service2"});
        entry(address(3, index), {"northbound", "northbound3"});
        entry(address(4, index), {"southbound", "southbound3"});
        m_json.end();
    }

    void entry(const std::string& ip, const std::vector<std::string_view>& tags) {
        m_json.object();
        member("interface", numbered("bond", m_entries++ % 5));
        member("IP", ip);
        member("ipType", ip.find(':') == std::string::npos ? "IPv4" : "IPv6");
        member("mask", ip.find(':') == std::string::npos ? "255.255.0.0" : "64");
        m_json.name("vlan")
            .number(100 + below(900))
            .name("mtu")
            .number(below(2) != 0 ? 9000 : 1500);
        m_json.name("floating").value(below(2) != 0 ? "true" : "false");
        m_json.name("usage").array();
        for (const std::string_view tag : tags) {
            m_json.text(tag);
        }
        m_json.end().end();
    }

    std::mt19937_64 m_random;
    std::string m_own;
    JsonText& m_json;
    unsigned m_entries = 0;
};

void database(JsonText& json, std::string_view name, unsigned entries) {
    json.name(name).array();
    for (unsigned i = 1; i <= entries; ++i) {
        json.object().name("type").text("postgresql").name("accessHost").text("198.51.100.30");
        json.name("accessPort").number(5431 + i).name("user").text(std::string(name) + "_rw");
        json.name("passwd").text(numbered("sample-password-", i));
        json.name("serviceName").text(name).name("serverName").text(numbered("db-", i));
        json.name("instanceExt").object().name("lib").text("libpq.so.5").end().end();
    }
    json.end();
}

void process(JsonText& json, std::string_view id, const std::string& nodeId, int ports) {
    json.name(id).object().name("nodeId").text(nodeId);
    json.name("IR").object().name("ip").text("192.0.2.11").end();
    json.name("local").object().name("ip").text("127.0.0.1").name("port").number(ports).end();
    json.name("wss").object().name("ip").text("192.0.2.11").name("port").number(ports + 443).end();
    json.name("CORBA").object().name("port").number(ports + 500).end();
    json.name("CORBA_SSL").object().name("port").number(ports + 501).end().end();
}

void write(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text << std::flush;
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
    file.close();
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() -
                                               std::chrono::hours(1));
}

} // namespace

std::string ownNodeId(unsigned nodes) {
    const unsigned middle = nodes / 2;
    return numbered("node-", middle - middle % 2 + 1);
}

std::string nodeList(const Shape& shape) {
    JsonText json(shape.layout);
    Nodes nodes(shape, json);
    json.object().name("formatVersion").number(3).name("nodeList").object();
    for (unsigned index = 0; index < shape.nodes; ++index) {
        nodes.node(index);
    }
    json.end().end();
    return json.str();
}

std::string appConfig(const Shape& shape) {
    JsonText json(shape.layout);
    json.object().name("databases").object();
    database(json, "alarms", 2);
    database(json, "inventory", 1);
    json.end().name("processes").object();
    process(json, kInstanceId, ownNodeId(shape.nodes), 31000);
    process(json, "topology-1", ownNodeId(shape.nodes), 32000);
    json.end().end();
    return json.str();
}

void writeDeployment(const std::filesystem::path& directory, const Shape& shape) {
    const std::string nodes = nodeList(shape);
    write(directory / kAppConfigFile, appConfig(shape));
    write(directory / kNodeListFile, nodes);
    write(directory / kManagerNodeListFile, nodes);
}

} // namespace generator
