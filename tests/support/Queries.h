// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

/// All queries of SysConfReader; also for the reference reader and the benchmarks' baseline.
namespace queries {

enum class Reads { Nothing, NodeList, ManagerNodeList };

enum class Takes { Nothing, Database, Tag, Prefix, Keys, Field, Tags };

enum class Shortage { NeverThrows, MayThrow };

struct Arguments {
    std::string database{};
    unsigned int index = 0;
    std::string tag{};
    std::string prefix{};
    std::string field{};
    std::string valuePrefix{};
};

struct Outputs {
    int number = 0;
    std::string text;
    std::string text2;
    std::list<std::string> list;
    std::map<int, std::string> byNumber;
    std::map<std::string, std::string> byTag;
    std::map<std::string, std::set<std::string>> byNode;
    Json::Value tree;
    std::map<std::string, Json::Value> trees;
    /// An argument of getAllFloatIP, by value: made before the call, like all arguments.
    std::set<std::string> tags;

    bool operator==(const Outputs&) const = default;
    /// Different outputs give different texts.
    std::string toText() const;
};

template <typename Reader>
struct Query {
    const char* name;
    Reads reads;
    /// How often it acquires the read lock of its class if the list has an answer.
    std::size_t readLocks;
    Takes takes;
    Shortage shortage;
    /// Allocates nothing except through the reader.
    void (*call)(Reader& reader, const Arguments& with, Outputs& out);
};

template <typename Reader>
const std::vector<Query<Reader>>& all() {
    using With = const Arguments&;
    constexpr Reads kNone = Reads::Nothing;
    constexpr Reads kNodes = Reads::NodeList;
    constexpr Reads kManager = Reads::ManagerNodeList;
    constexpr Shortage kNever = Shortage::NeverThrows;
    constexpr Shortage kMay = Shortage::MayThrow;
    static const std::vector<Query<Reader>> table{
        {"getLocalPort", kNone, 1, Takes::Nothing, kNever,
         [](Reader& r, With, Outputs& out) { out.number = r.getLocalPort(); }},
        {"getCorbaPort", kNone, 1, Takes::Nothing, kNever,
         [](Reader& r, With, Outputs& out) { out.number = r.getCorbaPort(); }},
        {"getCorbaSSLPort", kNone, 1, Takes::Nothing, kNever,
         [](Reader& r, With, Outputs& out) { out.number = r.getCorbaSSLPort(); }},
        {"GetWssPort", kNone, 1, Takes::Nothing, kNever,
         [](Reader& r, With, Outputs& out) { out.number = r.GetWssPort(); }},
        {"GetWssIPAddress", kNone, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.GetWssIPAddress(); }},
        {"getLocalhostIPAddress", kNone, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.getLocalhostIPAddress(); }},
        {"getMaintenanceIPAddress", kNone, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.getMaintenanceIPAddress(); }},
        {"getLocalHostTagName", kNone, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.getLocalHostTagName(); }},
        {"getFloatNodeId", kNone, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.getFloatNodeId(); }},
        {"GetMasterInternalServiceIP", kNone, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.GetMasterInternalServiceIP(); }},
        {"GetStandbyInternalServiceIP", kNone, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.GetStandbyInternalServiceIP(); }},
        {"GetAppRoot", kNone, 0, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.GetAppRoot(); }},
        {"getDBInfo", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) { out.number = r.getDBInfo(w.database, out.tree); }},
        {"getAllDBInfo", kNone, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.number = r.getAllDBInfo(out.trees); }},
        {"getDBAccessPort", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) {
             out.number = r.getDBAccessPort(w.database, w.index);
         }},
        {"getDBType", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) { out.text = r.getDBType(w.database, w.index); }},
        {"getDBUserName", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) { out.text = r.getDBUserName(w.database, w.index); }},
        {"getDBServiceName", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) {
             out.text = r.getDBServiceName(w.database, w.index);
         }},
        {"getDBPassword", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) { out.text = r.getDBPassword(w.database, w.index); }},
        {"getDBServerName", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) {
             out.text = r.getDBServerName(w.database, w.index);
         }},
        {"getDBAccessHost", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) {
             out.text = r.getDBAccessHost(w.database, w.index);
         }},
        {"getDBLib", kNone, 1, Takes::Database, kMay,
         [](Reader& r, With w, Outputs& out) { out.text = r.getDBLib(w.database, w.index); }},
        {"getLocalIPByUsage", kNodes, 1, Takes::Tag, kNever,
         [](Reader& r, With w, Outputs& out) { out.text = r.getLocalIPByUsage(w.tag); }},
        {"getLocalMaintenanceIP", kNodes, 1, Takes::Nothing, kNever,
         [](Reader& r, With, Outputs& out) { out.text = r.getLocalMaintenanceIP(); }},
        {"getLocalServiceIP", kNodes, 1, Takes::Nothing, kNever,
         [](Reader& r, With, Outputs& out) { out.text = r.getLocalServiceIP(); }},
        {"getLocalService2IP", kNodes, 1, Takes::Nothing, kNever,
         [](Reader& r, With, Outputs& out) { out.text = r.getLocalService2IP(); }},
        {"getLocalNodeIPs by number", kNodes, 0, Takes::Prefix, kNever,
         [](Reader& r, With w, Outputs& out) {
             r.getLocalNodeIPs(w.prefix, out.byNumber, out.text, out.text2);
         }},
        {"getLocalNodeIPs by tag", kNodes, 0, Takes::Keys, kNever,
         [](Reader& r, With, Outputs& out) { r.getLocalNodeIPs(out.byTag); }},
        {"getLocalNorthIP", kNodes, 0, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.getLocalNorthIP(); }},
        {"getLocalSouthIP", kNodes, 1, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.text = r.getLocalSouthIP(); }},
        {"getPFType", kNodes, 2, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { out.number = r.getPFType(); }},
        {"getIPAddresses", kManager, 1, Takes::Field, kNever,
         [](Reader& r, With w, Outputs& out) {
             out.number = r.getIPAddresses(w.field, w.valuePrefix, out.list);
         }},
        {"getAllFloatIP", kManager, 1, Takes::Tags, kNever,
         [](Reader& r, With, Outputs& out) {
             out.number = r.getAllFloatIP(std::move(out.tags), out.byNode);
         }},
        {"getSourceNodeId", kNodes, 0, Takes::Nothing, kMay,
         [](Reader& r, With, Outputs& out) { r.getSourceNodeId(out.text); }},
    };
    return table;
}

} // namespace queries
