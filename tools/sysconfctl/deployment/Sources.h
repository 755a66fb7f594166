// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "located/Document.h"

#include <config/ConfigDocument.h>
#include <config/ConfigFiles.h>
#include <rules/Node.h>

#include <json/value.h>

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

struct Variable {
    std::string name;
    std::optional<std::string> value;

    std::string text() const { return value.value_or(""); }
};

/// How a list is parsed. A document takes a fraction of the time of a tree.
enum class Form { Tree, Document };

/// Read once, so that `tree()` and `document` are of the same text.
struct SourceFile {
    std::string_view title;
    Variable variable;
    std::string path;
    /// Empty if it was read.
    std::string unreadable;
    int errorNumber = 0;
    located::Document document{""};
    /// If not, its root is null.
    bool loads = false;

    void parse(std::string& text, Form form);
    /// Valid until this file is moved, copied or destroyed.
    Quarncommon::rules::Node root() const;
    /// Built by the first call if the file was parsed without a tree.
    const Json::Value& tree() const;

    /// "path:line:column".
    std::string where(std::size_t offset) const;
    /// Why and where the file does not load; empty if it loads.
    std::string trouble() const;

private:
    std::shared_ptr<const Quarncommon::config::Document> m_parsed;
    mutable std::optional<Json::Value> m_tree;
};

struct Lists {
    SourceFile nodeList;
    SourceFile managerNodeList;
};

struct Sources {
    Variable instance;
    SourceFile appConfig;
    SourceFile nodeList;
    SourceFile managerNodeList;
    std::list<std::string> hostAddresses;
};

SourceFile readAppConfig();
SourceFile readNodeList(Form form = Form::Tree);
SourceFile readManagerNodeList(Form form = Form::Tree);
/// On two threads, if there is a second one.
Lists readLists(Form form);

SourceFile readAppConfigAt(const std::string& path);
SourceFile readNodeListAt(const std::string& path);
SourceFile readManagerNodeListAt(const std::string& path);

std::list<std::string> addressesOfHost(const std::vector<std::string>& localAddresses);

/// @param localAddresses Used instead of the host's addresses unless empty.
Sources readSources(const std::vector<std::string>& localAddresses = {}, Form lists = Form::Tree);

} // namespace sysconfctl
