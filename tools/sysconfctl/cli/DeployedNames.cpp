#include "cli/DeployedNames.h"

#include "cli/Environment.h"
#include "render/Text.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <set>

namespace sysconfctl {
namespace {

/// The file as the shell would name it: completion sees words before the shell has worked on them.
std::optional<std::string> withHome(const std::optional<std::string>& file) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment meanwhile.
    const char* const home = std::getenv("HOME");
    if (home != nullptr && file && file->starts_with("~/")) {
        return home + file->substr(1);
    }
    return file;
}

Candidates candidatesOf(const std::set<std::string>& texts) {
    Candidates candidates;
    for (const std::string& text : texts) {
        candidates.push_back({text, ""});
    }
    return candidates;
}

const Json::Value* member(const Json::Value* value, const std::string& name) {
    return value != nullptr && value->isObject() && value->isMember(name) ? &(*value)[name]
                                                                          : nullptr;
}

std::vector<std::string> membersOf(const Json::Value* value) {
    return value != nullptr && value->isObject() ? value->getMemberNames()
                                                 : std::vector<std::string>{};
}

Candidates memberCandidates(const SourceFile& file, const char* name) {
    Candidates candidates;
    for (const std::string& text : membersOf(member(&file.tree, name))) {
        candidates.push_back({text, ""});
    }
    return candidates;
}

template <typename Visit>
void forEachAddress(const Cluster& cluster, Visit visit) {
    for (const ClusterNode& node : cluster.nodes) {
        for (const Listed* listed : {&node.nodeList, &node.managerNodeList}) {
            std::for_each(listed->addresses.begin(), listed->addresses.end(), visit);
        }
    }
}

template <typename Visit>
void forEachField(const SourceFile& list, Visit visit) {
    const Json::Value* const nodes = member(&list.tree, "nodeList");
    for (const std::string& id : membersOf(nodes)) {
        const Json::Value& node = (*nodes)[id];
        for (const std::string& name : membersOf(&node)) {
            if (node[name].isString()) {
                visit(name, node[name].asString());
            }
        }
    }
}

} // namespace

DeployedNames::DeployedNames(const Typed& typed) {
    applyEnvironment(withHome(typed.envFile), typed.sets);
    m_sources = readSources();
    m_cluster = clusterOf(m_sources);
}

Candidates DeployedNames::nodes() const {
    Candidates candidates;
    for (const ClusterNode& node : m_cluster.nodes) {
        std::vector<std::string> about = node.marks();
        if (!node.told().tenancy.empty()) {
            about.push_back("of " + escaped(node.told().tenancy));
        }
        candidates.push_back({node.id, joined(about, ", ")});
    }
    return candidates;
}

Candidates DeployedNames::tags() const {
    std::set<std::string> tags;
    forEachAddress(m_cluster, [&](const Address& address) {
        tags.insert(address.tags.begin(), address.tags.end());
    });
    return candidatesOf(tags);
}

Candidates DeployedNames::tagPrefixes() const {
    std::set<std::string> prefixes;
    for (const Candidate& tag : tags()) {
        prefixes.insert(tag.text.substr(0, tag.text.find_last_not_of("0123456789") + 1));
    }
    return candidatesOf(prefixes);
}

Candidates DeployedNames::addresses() const {
    std::set<std::string> addresses;
    forEachAddress(m_cluster, [&](const Address& address) { addresses.insert(address.ip); });
    return candidatesOf(addresses);
}

Candidates DeployedNames::databases() const {
    return memberCandidates(m_sources.appConfig, "databases");
}

Candidates DeployedNames::entriesOf(const std::string& database) const {
    const Json::Value* const entries =
        member(member(&m_sources.appConfig.tree, "databases"), database);
    Candidates candidates;
    for (Json::ArrayIndex i = 0; entries != nullptr && entries->isArray() && i < entries->size();
         ++i) {
        const Json::Value* const type = member(&(*entries)[i], "type");
        candidates.push_back({std::to_string(i), type != nullptr && type->isString()
                                                     ? escaped(type->asString())
                                                     : ""});
    }
    return candidates;
}

Candidates DeployedNames::instances() const {
    return memberCandidates(m_sources.appConfig, "processes");
}

Candidates DeployedNames::fields() const {
    std::set<std::string> names;
    forEachField(m_sources.managerNodeList,
                 [&](const std::string& name, const std::string&) { names.insert(name); });
    return candidatesOf(names);
}

Candidates DeployedNames::valuesOf(const std::string& field) const {
    std::set<std::string> values;
    forEachField(m_sources.managerNodeList, [&](const std::string& name, const std::string& value) {
        if (name == field) {
            values.insert(value);
        }
    });
    return candidatesOf(values);
}

} // namespace sysconfctl
