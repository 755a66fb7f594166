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

/// An environment variable as it was found.
struct Variable {
    std::string name;
    std::optional<std::string> value;

    /// What the library reads: an unset variable counts as empty.
    std::string text() const { return value.value_or(""); }
};

/// One of the library's files as it was found: read once, so that its tree and the places in it are
/// those of one text.
struct SourceFile {
    std::string_view title;
    Variable variable;
    std::string path;
    /// Why there is no text; empty when there is one.
    std::string unreadable;
    /// The error number of that; 0 if it has none.
    int errorNumber = 0;
    located::Document document{""};
    /// Whether the library's reader accepts the text; `tree` is null if not.
    bool loads = false;
    Json::Value tree;

    /// "path:line:column".
    std::string where(std::size_t offset) const;
    /// Why the file does not load, with the place; empty when it does.
    std::string trouble() const;
};

/// All that the library takes from outside.
struct Sources {
    Variable instance;
    SourceFile appConfig;
    SourceFile nodeList;
    SourceFile managerNodeList;
    std::list<std::string> hostAddresses;
};

/// Each reads one file in the environment of this process.
SourceFile readAppConfig();
SourceFile readNodeList();
SourceFile readManagerNodeList();

/// Each reads one file at that path, whatever the environment is.
SourceFile readAppConfigAt(const std::string& path);
SourceFile readNodeListAt(const std::string& path);
SourceFile readManagerNodeListAt(const std::string& path);

/// The addresses in place of the host's own, if there are any, else its own.
std::list<std::string> addressesOfHost(const std::vector<std::string>& localAddresses);

/// Reads them in the environment of this process.
/// @param localAddresses What counts as the host's addresses; none: those that it has.
Sources readSources(const std::vector<std::string>& localAddresses = {});

} // namespace sysconfctl
