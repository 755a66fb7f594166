// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "check/TextFaults.h"
#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

namespace sysconfctl {
namespace {

using located::Path;

/// The bytes of a value, or of the name of the nearest member above it if there is no value.
std::pair<std::size_t, std::size_t> rangeOf(const SourceFile& file, const Path& path) {
    Path nearest = path;
    const located::Value* value = file.document.find(nearest);
    while (value == nullptr && !nearest.empty()) {
        nearest.pop_back();
        value = file.document.find(nearest);
    }
    const located::Member* const owner = file.document.findMember(nearest);
    if (nearest != path && owner != nullptr) {
        return {owner->nameBegin, owner->nameEnd - owner->nameBegin};
    }
    const bool nested = value->kind == located::Kind::Array || value->kind == located::Kind::Object;
    return {value->begin, nested ? 1 : value->end - value->begin};
}

/// The edit distance is too coarse for names of two letters.
std::string shortSuggestion(std::string_view name, const std::vector<std::string_view>& known) {
    for (const std::string_view one : known) {
        if (one.size() > 3 || one.size() != name.size()) {
            continue;
        }
        std::size_t different = 0;
        for (std::size_t i = 0; i < one.size(); ++i) {
            different += one[i] != name[i] ? 1 : 0;
        }
        if (different == 1 || (different == 2 && std::tolower(one[0]) == std::tolower(name[0]) &&
                               std::tolower(one[1]) == std::tolower(name[1]))) {
            return std::string(one);
        }
    }
    return {};
}

} // namespace

Finding& Checker::add(Finding finding) {
    findings.push_back(std::move(finding));
    Finding& added = findings.back();
    if (added.file != nullptr && added.severity != Severity::Note) {
        m_causes.emplace(Key{added.file, added.pointer}, &added);
    }
    return added;
}

Finding& Checker::environment(Severity severity, std::string_view name, std::string sentence,
                              std::string hint) {
    return add({severity, name, std::move(sentence), std::move(hint)});
}

Finding* Checker::sameFault(const SourceFile& file, const Path& path, Severity severity,
                            const std::string& sentence) {
    Finding* known = nullptr;
    for (Path above = path; known == nullptr; above.pop_back()) {
        const auto found = m_causes.find({&file, located::pointer(above)});
        const bool covers = found != m_causes.end() &&
                            (above.size() == path.size() || found->second->name == "wrong-type" ||
                             found->second->name == "repeated-member");
        known = covers ? found->second : nullptr;
        if (above.empty()) {
            break;
        }
    }
    if (known != nullptr && severity != Severity::Note) {
        known->severity = std::min(known->severity, severity);
        known->consequences.push_back(sentence);
    }
    return known;
}

Finding& Checker::at(const SourceFile& file, const Path& path, Severity severity,
                     std::string_view name, std::string sentence, std::string hint) {
    if (Finding* const known = sameFault(file, path, severity, sentence)) {
        return *known;
    }
    const auto [offset, length] = rangeOf(file, path);
    return add({severity, name, std::move(sentence), std::move(hint), &file, offset, length,
                located::pointer(path)});
}

Finding& Checker::member(const SourceFile& file, const Path& path, Severity severity,
                         std::string_view name, std::string sentence, std::string hint) {
    const located::Member* const named = file.document.findMember(path);
    if (named == nullptr) {
        return at(file, path, severity, name, std::move(sentence), std::move(hint));
    }
    if (Finding* const known = sameFault(file, path, severity, sentence)) {
        return *known;
    }
    return add({severity, name, std::move(sentence), std::move(hint), &file, named->nameBegin,
                named->nameEnd - named->nameBegin, located::pointer(path)});
}

Finding* Checker::cause(const SourceFile& file, const Path& path) {
    const std::string whole = located::pointer(path);
    for (Path above = path;; above.pop_back()) {
        const auto found = m_causes.find({&file, located::pointer(above)});
        if (found != m_causes.end()) {
            return found->second;
        }
        if (above.empty()) {
            break;
        }
    }
    const auto within = m_causes.lower_bound({&file, whole + '/'});
    const bool found = within != m_causes.end() && within->first.first == &file &&
                       within->first.second.starts_with(whole + '/');
    return found ? within->second : nullptr;
}

void Checker::explains(Finding& finding, const SourceFile& file, const Path& path) {
    m_causes.emplace(Key{&file, located::pointer(path)}, &finding);
}

void Checker::relate(Finding& finding, const SourceFile& file, const Path& path,
                     std::string sentence) {
    const std::size_t offset = rangeOf(file, path).first;
    const bool known =
        std::any_of(finding.related.begin(), finding.related.end(), [&](const RelatedPlace& place) {
            return place.file == &file && place.offset == offset;
        });
    if (!known && !(finding.file == &file && finding.offset == offset)) {
        finding.related.push_back({&file, offset, std::move(sentence)});
    }
}

void Checker::unknownMembers(const SourceFile& file, const Path& path,
                             const std::vector<std::string_view>& known) {
    const located::Value* const object = file.document.find(path);
    if (object == nullptr) {
        return;
    }
    for (const located::Member& read : object->members) {
        if (std::find(known.begin(), known.end(), read.name) != known.end()) {
            continue;
        }
        std::string near = suggestion(read.name, known);
        near = near.empty() ? shortSuggestion(read.name, known) : near;
        if (!near.empty() && object->member(near) == nullptr) {
            Finding& finding =
                member(file, with(path, {read.name}), Severity::Error, "unknown-member",
                       fmt::format("\"{}\" is not read, and \"{}\" is absent", read.name, near),
                       fmt::format("did you mean \"{}\"?", near));
            explains(finding, file, with(path, {near}));
        }
    }
}

bool Checker::hidden(const SourceFile& file, const Path& path, const std::string& text,
                     bool isMember) {
    const std::string fault = hiddenFault(text);
    if (fault.empty()) {
        return false;
    }
    const std::string sentence = fmt::format("this {} has {}: it is compared byte by byte",
                                             isMember ? "name" : "text", fault);
    if (isMember) {
        member(file, path, Severity::Error, "hidden-character", sentence, "remove it");
    } else {
        at(file, path, Severity::Error, "hidden-character", sentence, "remove it");
    }
    return true;
}

std::vector<const SourceFile*> ListGroup::lists() const {
    std::vector<const SourceFile*> all = nodeLists;
    if (managerNodeList != nullptr) {
        all.push_back(managerNodeList);
    }
    return all;
}

std::vector<ListGroup> groupsOf(const Inventory& inventory) {
    std::vector<ListGroup> groups;
    std::map<const SourceFile*, std::size_t> known;
    for (const View& view : inventory.views) {
        const bool loads = view.managerNodeList != nullptr && view.managerNodeList->loads;
        const SourceFile* const manager = loads ? view.managerNodeList : nullptr;
        const auto [entry, isNew] = known.emplace(manager, groups.size());
        if (isNew) {
            groups.push_back({manager, {}});
        }
        auto& lists = groups[entry->second].nodeLists;
        if (view.nodeList != nullptr && view.nodeList->loads &&
            std::find(lists.begin(), lists.end(), view.nodeList) == lists.end()) {
            lists.push_back(view.nodeList);
        }
    }
    return groups;
}

std::set<std::string> ownNodes(const Inventory& inventory, const SourceFile& list) {
    std::set<std::string> ids;
    for (const View& view : inventory.views) {
        if (view.nodeList != &list || view.appConfig == nullptr || !view.appConfig->loads) {
            continue;
        }
        const Path processes = {"processes"};
        for (const Json::Value& process : valueAt(view.appConfig->tree(), processes)) {
            ids.insert(textAt(process, {"nodeId"}));
        }
    }
    return ids;
}

const Json::Value& nodesOf(const SourceFile& list) {
    const Path nodeList = {"nodeList"};
    const Json::Value& nodes = valueAt(list.tree(), nodeList);
    return nodes.isObject() ? nodes : Json::Value::nullSingleton();
}

std::string textAt(const Json::Value& node, const Path& path) {
    const Json::Value& value = valueAt(node, path);
    return value.isArray() || value.isObject() ? std::string() : value.asString();
}

Path with(Path path, const Path& rest) {
    path.insert(path.end(), rest.begin(), rest.end());
    return path;
}

namespace {

using FileOf = const SourceFile* View::*;

std::vector<std::pair<const SourceFile*, FileOf>> filesOf(const Inventory& inventory,
                                                          std::initializer_list<FileOf> kinds) {
    std::vector<std::pair<const SourceFile*, FileOf>> files;
    std::set<const SourceFile*> seen{nullptr};
    for (const FileOf kind : kinds) {
        for (const View& view : inventory.views) {
            if (seen.insert(view.*kind).second) {
                files.emplace_back(view.*kind, kind);
            }
        }
    }
    return files;
}

void sortByPlace(std::vector<Finding>& findings, const Inventory& inventory) {
    std::map<const SourceFile*, std::size_t> order{{nullptr, 0}};
    for (const auto& [file, kind] :
         filesOf(inventory, {&View::appConfig, &View::nodeList, &View::managerNodeList})) {
        order.emplace(file, order.size());
    }
    const auto place = [&](const Finding& one) {
        return std::make_tuple(order[one.file], one.offset);
    };
    std::stable_sort(
        findings.begin(), findings.end(),
        [&](const Finding& left, const Finding& right) { return place(left) < place(right); });
}

void checkContents(Checker& checker, const Inventory& inventory, CheckResult& result) {
    for (const auto& [file, kind] :
         filesOf(inventory, {&View::nodeList, &View::managerNodeList, &View::appConfig})) {
        if (!file->loads) {
            continue;
        }
        ++result.files;
        if (kind != &View::appConfig) {
            checkNodeList(checker, *file);
        } else {
            checkProcesses(checker, *file);
            checkDatabases(checker, *file);
            result.processes += valueAt(file->tree(), {"processes"}).size();
        }
    }
}

void checkGroups(Checker& checker, const Inventory& inventory, CheckResult& result) {
    const auto groups = groupsOf(inventory);
    std::set<std::string> nodes;
    for (const ListGroup& group : groups) {
        checkAgreement(checker, group);
        for (const SourceFile* list : group.lists()) {
            const std::vector<std::string> ids = nodesOf(*list).getMemberNames();
            nodes.insert(ids.begin(), ids.end());
        }
    }
    result.nodes = nodes.size();
    for (const ListGroup& group : groups) {
        if (group.managerNodeList != nullptr) {
            checkRoles(checker, *group.managerNodeList);
        }
    }
}

} // namespace

CheckResult check(const Inventory& inventory) {
    Checker checker(inventory);
    CheckResult result;
    checkFiles(checker);
    checkContents(checker, inventory, result);
    checkGroups(checker, inventory, result);
    std::set<std::tuple<const SourceFile*, const SourceFile*, std::optional<std::string>>> views;
    for (const View& view : inventory.views) {
        if (views.emplace(view.appConfig, view.nodeList, view.instance).second) {
            checkInstance(checker, view);
            checkOwnNodes(checker, view);
        }
    }
    result.findings.assign(std::make_move_iterator(checker.findings.begin()),
                           std::make_move_iterator(checker.findings.end()));
    sortByPlace(result.findings, inventory);
    return result;
}

} // namespace sysconfctl
