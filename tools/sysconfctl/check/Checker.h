// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check/Finding.h"

#include <map>
#include <set>

namespace sysconfctl {

/// Collects findings. One fault gives one finding: a check that compares or combines values first
/// calls cause(), and extends the finding that it returns.
class Checker {
public:
    explicit Checker(const Inventory& read) : inventory(read) {}

    const Inventory& inventory;
    std::deque<Finding> findings;

    Finding& environment(Severity severity, std::string_view name, std::string sentence,
                         std::string hint);
    /// If the path has no value, the finding is about the name of the nearest member above it.
    Finding& at(const SourceFile& file, const located::Path& path, Severity severity,
                std::string_view name, std::string sentence, std::string hint = "");
    Finding& member(const SourceFile& file, const located::Path& path, Severity severity,
                    std::string_view name, std::string sentence, std::string hint = "");
    Finding& add(Finding finding);

    /// Returns a finding, no note, about the value, an ancestor or a descendant, or null.
    Finding* cause(const SourceFile& file, const located::Path& path);
    /// Makes cause() return the finding for that path.
    void explains(Finding& finding, const SourceFile& file, const located::Path& path);
    /// The value at the path, or its nearest ancestor.
    static void relate(Finding& finding, const SourceFile& file, const located::Path& path,
                       std::string sentence);

    /// Names that are unknown but resemble a known name that is absent.
    void unknownMembers(const SourceFile& file, const located::Path& path,
                        const std::vector<std::string_view>& known);
    /// Blanks at either end and invisible characters. Returns whether there are any.
    bool hidden(const SourceFile& file, const located::Path& path, const std::string& text,
                bool isMember = false);

private:
    /// Extends and returns the finding about the same value, or about an ancestor that is repeated
    /// or has the wrong type; null if there is none.
    Finding* sameFault(const SourceFile& file, const located::Path& path, Severity severity,
                       const std::string& sentence);

    using Key = std::pair<const SourceFile*, std::string>;
    std::map<Key, Finding*> m_causes;
};

struct ListGroup {
    const SourceFile* managerNodeList = nullptr;
    std::vector<const SourceFile*> nodeLists;

    /// The manager node list is the last one.
    std::vector<const SourceFile*> lists() const;
};

std::vector<ListGroup> groupsOf(const Inventory& inventory);

/// The node ids of the processes that read this node list.
std::set<std::string> ownNodes(const Inventory& inventory, const SourceFile& list);

/// The value of "nodeList"; null unless it is an object.
const Json::Value& nodesOf(const SourceFile& list);
/// "" if the value cannot be read as a string.
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
