#pragma once

#include <json/writer.h>

#include <list>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// The questions that a fuzz target puts to the library and to its naive telling, which have the
/// same names for them: each function asks any of the two.
namespace questions {

/// Question and answer, each as text.
using Answers = std::vector<std::pair<std::string, std::string>>;

inline std::string text(const std::string& answer) {
    return answer;
}

inline std::string text(int answer) {
    return std::to_string(answer);
}

inline std::string text(const Json::Value& answer) {
    static const Json::StreamWriterBuilder builder;
    return Json::writeString(builder, answer);
}

/// Texts in a form that tells them apart whatever bytes they have.
template <typename Container>
std::string listed(const Container& texts) {
    std::string all;
    for (const std::string& one : texts) {
        all += std::to_string(one.size()) + ":" + one + ",";
    }
    return all;
}

template <typename Question>
void put(Answers& answers, std::string label, Question question) {
    std::string answer;
    try {
        answer = "answers " + text(question());
    } catch (const Json::Exception&) {
        answer = "throws";
    }
    answers.emplace_back(std::move(label), std::move(answer));
}

template <typename Reader>
void putLoadedValues(Reader& reader, Answers& answers) {
    put(answers, "getLocalPort", [&] { return reader.getLocalPort(); });
    put(answers, "getCorbaPort", [&] { return reader.getCorbaPort(); });
    put(answers, "getCorbaSSLPort", [&] { return reader.getCorbaSSLPort(); });
    put(answers, "GetWssPort", [&] { return reader.GetWssPort(); });
    put(answers, "GetWssIPAddress", [&] { return reader.GetWssIPAddress(); });
    put(answers, "getLocalhostIPAddress", [&] { return reader.getLocalhostIPAddress(); });
    put(answers, "getMaintenanceIPAddress", [&] { return reader.getMaintenanceIPAddress(); });
    put(answers, "getLocalHostTagName", [&] { return reader.getLocalHostTagName(); });
    put(answers, "getFloatNodeId", [&] { return reader.getFloatNodeId(); });
}

template <typename Reader>
void putRoles(const Reader& reader, Answers& answers) {
    put(answers, "GetLocalInternalServiceIP", [&] { return reader.GetLocalInternalServiceIP(); });
    put(answers, "GetMasterInternalServiceIP", [&] { return reader.GetMasterInternalServiceIP(); });
    put(answers, "GetStandbyInternalServiceIP",
        [&] { return reader.GetStandbyInternalServiceIP(); });
    put(answers, "GetProductName", [&] { return reader.GetProductName(); });
}

/// All that a load decides: loaded values, roles, databases, and which nodes' addresses are told.
template <typename Reader, typename RoleReader>
void putLoaded(Reader& reader, const RoleReader& roles, Answers& answers) {
    putLoadedValues(reader, answers);
    putRoles(roles, answers);
    std::map<std::string, Json::Value> all{{"before", Json::Value()}};
    put(answers, "getAllDBInfo", [&] { return reader.getAllDBInfo(all); });
    for (const auto& [name, info] : all) {
        answers.emplace_back("database " + name, text(info));
    }
    put(answers, "getLocalMaintenanceIP", [&] { return reader.getLocalMaintenanceIP(); });
    put(answers, "getLocalNorthIP", [&] { return reader.getLocalNorthIP(); });
}

template <typename Reader>
void putDatabaseEntry(Reader& reader, const std::string& name, unsigned int index,
                      Answers& answers) {
    const auto ask = [&](const char* label, auto question) {
        put(answers, std::string(label) + " " + name + " " + std::to_string(index), question);
    };
    ask("getDBAccessPort", [&] { return reader.getDBAccessPort(name, index); });
    ask("getDBType", [&] { return reader.getDBType(name, index); });
    ask("getDBUserName", [&] { return reader.getDBUserName(name, index); });
    ask("getDBServiceName", [&] { return reader.getDBServiceName(name, index); });
    ask("getDBPassword", [&] { return reader.getDBPassword(name, index); });
    ask("getDBServerName", [&] { return reader.getDBServerName(name, index); });
    ask("getDBAccessHost", [&] { return reader.getDBAccessHost(name, index); });
    ask("getDBLib", [&] { return reader.getDBLib(name, index); });
}

/// Of up to two databases the first two entries and one that is none; and an unknown one.
template <typename Reader>
void putDatabases(Reader& reader, Answers& answers) {
    std::map<std::string, Json::Value> all;
    reader.getAllDBInfo(all);
    constexpr std::size_t kMost = 3;
    std::vector<std::string> names{"unknown"};
    for (const auto& [name, info] : all) {
        if (names.size() < kMost) {
            names.push_back(name);
        }
    }
    for (const std::string& name : names) {
        Json::Value info("before");
        put(answers, "getDBInfo " + name, [&] { return reader.getDBInfo(name, info); });
        answers.emplace_back("info of " + name, text(info));
        for (const unsigned int index : {0U, 1U, 4294967295U}) {
            putDatabaseEntry(reader, name, index, answers);
        }
    }
}

template <typename Reader>
void putPrefix(Reader& reader, const std::string& prefix, Answers& answers) {
    std::map<int, std::string> byNumber{{2, "before"}};
    std::string service = "before";
    std::string service2 = "before";
    reader.getLocalNodeIPs(prefix, byNumber, service, service2);
    std::string answer = listed(std::vector<std::string>{service, service2});
    for (const auto& [number, address] : byNumber) {
        answer += std::to_string(number) + "=" + address + ",";
    }
    answers.emplace_back("getLocalNodeIPs " + prefix, answer);
}

template <typename Reader>
void putTags(Reader& reader, std::map<std::string, std::string> byTag, Answers& answers) {
    const std::string label = "getLocalNodeIPs over " + std::to_string(byTag.size()) + " tags";
    reader.getLocalNodeIPs(byTag);
    std::string answer = std::to_string(byTag.size());
    for (const auto& [tag, address] : byTag) {
        if (!address.empty() || !tag.starts_with("southbound")) {
            answer += " " + tag + "=" + address + ",";
        }
    }
    answers.emplace_back(label, answer);
}

/// What the node list answers, for these tags.
template <typename Reader>
void putNodeList(Reader& reader, const std::set<std::string>& tags, Answers& answers) {
    for (const std::string& tag : tags) {
        put(answers, "getLocalIPByUsage " + tag, [&] { return reader.getLocalIPByUsage(tag); });
    }
    put(answers, "getLocalServiceIP", [&] { return reader.getLocalServiceIP(); });
    put(answers, "getLocalService2IP", [&] { return reader.getLocalService2IP(); });
    for (const char* prefix : {"northbound", "southbound", "", "s", "North"}) {
        putPrefix(reader, prefix, answers);
    }
    // Only once for an input: it is a thousand keys each time.
    using ByTag = std::map<std::string, std::string>;
    putTags(reader, !tags.contains("x") ? ByTag{} : ByTag{{"service", "before"}, {"x", "before"}},
            answers);
    put(answers, "getLocalSouthIP", [&] { return reader.getLocalSouthIP(); });
    put(answers, "getPFType", [&] { return reader.getPFType(); });
    std::string id = "before";
    reader.getSourceNodeId(id);
    answers.emplace_back("getSourceNodeId", id);
}

/// What the manager node list answers, for these tags.
template <typename Reader>
void putManagerNodeList(Reader& reader, const std::set<std::string>& tags, Answers& answers) {
    const auto selected = [&](const std::string& field, const std::string& prefix) {
        std::list<std::string> addresses{"before"};
        put(answers, "getIPAddresses " + field + " " + prefix,
            [&] { return reader.getIPAddresses(field, prefix, addresses); });
        answers.emplace_back("addresses for " + field + " " + prefix, listed(addresses));
    };
    selected("assignedToTenancy", "");
    selected("assignedToTenancy", "t1");
    selected("kind", "1");
    selected("extAttr", "");
    selected("", "t");
    for (const std::set<std::string>& asked :
         {std::set<std::string>{}, std::set<std::string>{"service"}, tags}) {
        std::map<std::string, std::set<std::string>> byNode{{"n1", {"before"}}};
        const std::string label = "getAllFloatIP " + listed(asked);
        put(answers, label, [&] { return reader.getAllFloatIP(asked, byNode); });
        for (const auto& [id, addresses] : byNode) {
            answers.emplace_back(label + " " + id, listed(addresses));
        }
    }
}

} // namespace questions
