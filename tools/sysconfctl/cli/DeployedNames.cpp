// SPDX-License-Identifier: Apache-2.0
#include "cli/DeployedNames.h"

#include "cli/Environment.h"
#include "cli/ProcessEnvironment.h"
#include "deployment/Cluster.h"
#include "deployment/KeepUntilExit.h"
#include "render/Text.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <set>

namespace sysconfctl {
namespace {

/// Expands "~/" as the shell would: completion sees words before the shell expands them.
std::optional<std::string> withHome(const std::optional<std::string>& file) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is only one thread.
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
    for (const std::string& text : membersOf(member(&file.tree(), name))) {
        candidates.push_back({text, ""});
    }
    return candidates;
}

std::set<std::string> textsOfNodes(std::initializer_list<std::string Listed::*> fields) {
    std::set<std::string> texts;
    for (const ClusterNode& node :
         keepUntilExit(clusterOf(keepUntilExit(readSources({}, Form::Document)))).nodes) {
        for (const auto field : fields) {
            texts.insert(node.listing().*field);
        }
    }
    return texts;
}

using ListPointers = std::initializer_list<const SourceFile*>;

template <typename Visit>
void forEachAddress(ListPointers lists, Visit visit) {
    for (const SourceFile* const list : lists) {
        for (const auto& node : listedNodes(*list)) {
            for (const Address& address : addressesOf(node.second)) {
                visit(address);
            }
        }
    }
}

Candidates nodesIn(const Sources& sources) {
    Candidates candidates;
    for (const ClusterNode& node : keepUntilExit(clusterOf(sources)).nodes) {
        std::vector<std::string> about = node.marks();
        if (!node.listing().tenancy.empty()) {
            about.push_back("of " + node.listing().tenancy);
        }
        candidates.push_back({node.id, joined(about, ", ")});
    }
    return candidates;
}

Candidates tagsIn(ListPointers lists) {
    std::set<std::string> tags;
    forEachAddress(lists, [&](const Address& address) {
        tags.insert(address.tags.begin(), address.tags.end());
    });
    return candidatesOf(tags);
}

Candidates addressesIn(ListPointers lists) {
    std::set<std::string> addresses;
    forEachAddress(lists, [&](const Address& address) { addresses.insert(address.ip); });
    return candidatesOf(addresses);
}

template <typename Visit>
void forEachField(const SourceFile& list, Visit visit) {
    const Json::Value* const nodes = member(&list.tree(), "nodeList");
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

namespace deployed {

void applyEnvironmentOf(const PartialCommandLine& line) {
    if (!line.pids.empty()) {
        applyProcess(line.pids.back());
    }
    applyEnvironment(withHome(line.envFile), line.sets);
}

Candidates nodes() {
    return nodesIn(keepUntilExit(readSources({}, Form::Document)));
}

Candidates tenancies() {
    return candidatesOf(textsOfNodes({&Listed::tenancy}));
}

Candidates roles() {
    return candidatesOf(textsOfNodes({&Listed::role, &Listed::domainType}));
}

Candidates tags() {
    Lists& lists = keepUntilExit(readLists(Form::Document));
    return tagsIn({&lists.nodeList, &lists.managerNodeList});
}

Candidates tagPrefixes() {
    std::set<std::string> prefixes;
    for (const Candidate& tag : tags()) {
        prefixes.insert(tag.text.substr(0, tag.text.find_last_not_of("0123456789") + 1));
    }
    return candidatesOf(prefixes);
}

Candidates addresses() {
    Lists& lists = keepUntilExit(readLists(Form::Document));
    return addressesIn({&lists.nodeList, &lists.managerNodeList});
}

Candidates words() {
    Sources& sources = keepUntilExit(readSources({}, Form::Document));
    const ListPointers lists = {&sources.nodeList, &sources.managerNodeList};
    Candidates candidates = nodesIn(sources);
    for (const Candidates& more : {tagsIn(lists), addressesIn(lists)}) {
        candidates.insert(candidates.end(), more.begin(), more.end());
    }
    return candidates;
}

Candidates databases() {
    return memberCandidates(readAppConfig(), "databases");
}

Candidates entriesOf(const std::string& database) {
    const SourceFile appConfig = readAppConfig();
    const Json::Value* const entries = member(member(&appConfig.tree(), "databases"), database);
    Candidates candidates;
    for (Json::ArrayIndex i = 0; entries != nullptr && entries->isArray() && i < entries->size();
         ++i) {
        const Json::Value* const type = member(&(*entries)[i], "type");
        candidates.push_back(
            {std::to_string(i), type != nullptr && type->isString() ? type->asString() : ""});
    }
    return candidates;
}

Candidates instances() {
    return memberCandidates(readAppConfig(), "processes");
}

Candidates fields() {
    std::set<std::string> names;
    forEachField(keepUntilExit(readManagerNodeList()),
                 [&](const std::string& name, const std::string&) { names.insert(name); });
    return candidatesOf(names);
}

Candidates valuesOf(const std::string& field) {
    std::set<std::string> values;
    forEachField(keepUntilExit(readManagerNodeList()),
                 [&](const std::string& name, const std::string& value) {
                     if (name == field) {
                         values.insert(value);
                     }
                 });
    return candidatesOf(values);
}

} // namespace deployed

} // namespace sysconfctl
