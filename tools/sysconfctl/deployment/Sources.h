// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "located/Document.h"

#include <config/ConfigFiles.h>

#include <json/value.h>

#include <list>
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

/// Read once, so that `tree` and `document` are of the same text.
struct SourceFile {
    std::string_view title;
    Variable variable;
    std::string path;
    /// Empty if it was read.
    std::string unreadable;
    int errorNumber = 0;
    located::Document document{""};
    /// If not, `tree` is null.
    bool loads = false;
    Json::Value tree;

    /// "path:line:column".
    std::string where(std::size_t offset) const;
    /// Why and where the file does not load; empty if it loads.
    std::string trouble() const;
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
SourceFile readNodeList();
SourceFile readManagerNodeList();
/// On two threads, if there is a second one.
Lists readLists();

SourceFile readAppConfigAt(const std::string& path);
SourceFile readNodeListAt(const std::string& path);
SourceFile readManagerNodeListAt(const std::string& path);

std::list<std::string> addressesOfHost(const std::vector<std::string>& localAddresses);

/// @param localAddresses Used instead of the host's addresses unless empty.
Sources readSources(const std::vector<std::string>& localAddresses = {});

} // namespace sysconfctl
