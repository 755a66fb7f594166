// SPDX-License-Identifier: Apache-2.0
#include "History.h"

#include "SysConfReader.h"
#include "SysConfReader_i.h"
#include "support/SampleTexts.h"

#include <json/reader.h>
#include <json/value.h>

#include <cstdlib>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace endurance {

namespace {

constexpr int kNodes = 8;

int nodeOf(int generation) {
    return generation % kNodes;
}

std::string mark(int generation, int node) {
    return "@" + std::to_string(generation) + "/" + std::to_string(node) + "@";
}

/// The ids are the same in all generations.
std::string idOf(int node) {
    return mark(0, node);
}

Json::Value parsed(const std::string& text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
}

std::string appConfig(int generation) {
    const int node = nodeOf(generation);
    Json::Value root = parsed(queries::appConfig(mark(generation, node)));
    root["processes"]["p1"]["nodeId"] = idOf(node);
    return support::jsonText(root);
}

Json::Value nodes(int generation) {
    Json::Value root;
    for (int node = 0; node < kNodes; ++node) {
        Json::Value& one = root["nodeList"][idOf(node)];
        one = parsed(queries::nodeList(mark(generation, node)))["nodeList"]["n1"];
        one["assignedToTenancy"] = "tenancy";
    }
    return root;
}

std::string managerNodeList(int generation) {
    Json::Value root = nodes(generation);
    root["nodeList"][idOf(0)]["extAttr"]["hostType"] = "master";
    root["nodeList"][idOf(0)]["extAttr"]["domain_node_type"] = "ACCESS_Master";
    root["nodeList"][idOf(1)]["extAttr"]["hostType"] = "standby";
    root["nodeList"][idOf(1)]["extAttr"]["domain_node_type"] = "ACCESS_Backup";
    return support::jsonText(root);
}

struct Reading {
    std::string form;
    std::optional<int> generation;
    bool ofOneGeneration = true;
    std::optional<int> node;
    bool ofOneNode = true;
};

void note(std::optional<int>& known, bool& one, int value) {
    one = one && known.value_or(value) == value;
    known = value;
}

int numberAt(const char*& text) {
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    text = end + 1;
    return static_cast<int>(number);
}

Reading read(const std::string& answer) {
    Reading reading;
    std::size_t at = 0;
    for (;;) {
        const std::size_t begin = answer.find('@', at);
        reading.form.append(answer, at, begin == std::string::npos ? begin : begin + 1 - at);
        if (begin == std::string::npos) {
            return reading;
        }
        const char* text = answer.c_str() + begin + 1;
        if (const int generation = numberAt(text); generation != 0) {
            note(reading.generation, reading.ofOneGeneration, generation);
        }
        note(reading.node, reading.ofOneNode, numberAt(text));
        at = static_cast<std::size_t>(text - answer.c_str());
    }
}

} // namespace

History::History() {
    write(1);
    for (const queries::ReaderQuery& query : queries::ofReader()) {
        m_forms[query.name] = read(queries::ask(query)).form;
    }
    for (const auto& [name, answer] : support::roleAnswers()) {
        m_forms[name] = read(answer).form;
    }
    noteLoaded(1);
}

void History::write(int generation) {
    m_begun = generation;
    m_deployment.appConfig(appConfig(generation));
    m_deployment.nodeList(support::jsonText(nodes(generation)));
    m_nodeList = generation;
    m_deployment.managerNodeList(managerNodeList(generation));
    m_managerNodeList = generation;
}

bool History::answersAreOf(int generation) const {
    Quarncommon::SysConfReader& reader = *Quarncommon::SysConfReader::Instance();
    const auto isOf = [generation](const std::string& answer) {
        return read(answer).generation == generation;
    };
    // The first value that each class loads from each file.
    return isOf(reader.getMaintenanceIPAddress()) && isOf(reader.getLocalHostTagName()) &&
           isOf(Quarncommon::SysConfReader_i::Instance()->GetLocalInternalServiceIP()) &&
           isOf(Quarncommon::SysConfReader_i::Instance()->GetMasterInternalServiceIP());
}

std::string History::wrongWith(const queries::ReaderQuery& query) const {
    const Floor before = floor();
    const std::string answer = queries::ask(query);
    switch (query.reads) {
    case queries::Reads::NodeList:
        return judge(query.name, answer, before.nodeList, before.loaded);
    case queries::Reads::ManagerNodeList:
        return judge(query.name, answer, before.managerNodeList, 0);
    default:
        // Two role queries answer for a manager node.
        const bool ofOwnNode =
            std::string_view(query.name).find("InternalServiceIP") == std::string_view::npos;
        return judge(query.name, answer, before.loaded, ofOwnNode ? before.loaded : 0);
    }
}

std::string History::wrongWithRoles() const {
    const Floor before = floor();
    std::string wrong;
    for (const auto& [name, answer] : support::roleAnswers()) {
        wrong += judge(name, answer, before.loaded, name == "localIP" ? before.loaded : 0);
    }
    return wrong;
}

/// @param oldestNode 0 if the answer is not about the own node.
std::string History::judge(const std::string& name, const std::string& answer, int oldest,
                           int oldestNode) const {
    const int newest = m_begun;
    const Reading reading = read(answer);
    bool sound = reading.form == m_forms.at(name) && reading.ofOneGeneration;
    if (sound && reading.generation) {
        sound = oldest <= *reading.generation && *reading.generation <= newest;
    }
    if (sound && reading.node && oldestNode != 0) {
        int own = newest;
        while (own >= oldestNode && nodeOf(own) != *reading.node) {
            --own;
        }
        sound = reading.ofOneNode && own >= oldestNode;
    }
    if (sound) {
        return {};
    }
    return name + " answers \"" + answer + "\", but there were the generations " +
           std::to_string(oldest) + " to " + std::to_string(newest) + " of what it reads, and " +
           std::to_string(oldestNode) + " of the node; ";
}

} // namespace endurance
