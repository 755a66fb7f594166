// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check/Finding.h"

#include <map>
#include <set>

namespace sysconfctl {

/// Collects findings. One fault gives one finding: a check that compares or combines values asks
/// first whether a finding explains the difference, and adds to that one.
class Checker {
public:
    explicit Checker(const Inventory& read) : inventory(read) {}

    const Inventory& inventory;
    std::deque<Finding> findings;

    Finding& environment(Severity severity, std::string_view name, std::string sentence,
                         std::string hint);
    /// About a value. If there is none at the path, the name of the nearest object above it is
    /// meant.
    Finding& at(const SourceFile& file, const located::Path& path, Severity severity,
                std::string_view name, std::string sentence, std::string hint = "");
    /// About the name of a member.
    Finding& member(const SourceFile& file, const located::Path& path, Severity severity,
                    std::string_view name, std::string sentence, std::string hint = "");
    Finding& add(Finding finding);

    /// A finding, other than a note, about the value, a value above it or a value in it; null if
    /// there is none.
    Finding* cause(const SourceFile& file, const located::Path& path);
    /// Makes the finding the cause of what is missing at that path.
    void explains(Finding& finding, const SourceFile& file, const located::Path& path);
    /// Adds what is at another path, or at the nearest value above it.
    static void relate(Finding& finding, const SourceFile& file, const located::Path& path,
                       std::string sentence);

    /// Members of the object that are none of the known names, but near one that is absent.
    void unknownMembers(const SourceFile& file, const located::Path& path,
                        const std::vector<std::string_view>& known);
    /// Blanks at either end and invisible characters. Returns whether there are any.
    bool hidden(const SourceFile& file, const located::Path& path, const std::string& text,
                bool isMember = false);

private:
    /// Adds to the finding about the same value, or about a value of a wrong type or a repeated one
    /// above it; null if there is none.
    Finding* sameFault(const SourceFile& file, const located::Path& path, Severity severity,
                       const std::string& sentence);

    using Key = std::pair<const SourceFile*, std::string>;
    std::map<Key, Finding*> m_causes;
};

/// The files of one deployment: a manager node list, and the node lists beside it.
struct ListGroup {
    const SourceFile* managerNodeList = nullptr;
    std::vector<const SourceFile*> nodeLists;

    /// All lists, the manager node list last.
    std::vector<const SourceFile*> lists() const;
};

std::vector<ListGroup> groupsOf(const Inventory& inventory);

/// The node ids of the processes that read a node list.
std::set<std::string> ownNodes(const Inventory& inventory, const SourceFile& list);

/// The members of "nodeList", null if it is no object.
const Json::Value& nodesOf(const SourceFile& list);
/// The text that the library reads, "" for a value that has none.
std::string textAt(const Json::Value& node, const located::Path& path);
located::Path with(located::Path path, const located::Path& rest);

void checkFiles(Checker& checker);
void checkProcesses(Checker& checker, const SourceFile& file);
void checkInstance(Checker& checker, const View& view);
void checkDatabases(Checker& checker, const SourceFile& file);
void checkNodeList(Checker& checker, const SourceFile& list);
void checkAgreement(Checker& checker, const ListGroup& group);
void checkRoles(Checker& checker, const SourceFile& managerNodeList);
void checkOwnNodes(Checker& checker, const View& view);

} // namespace sysconfctl
