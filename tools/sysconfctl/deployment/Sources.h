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

/// An environment variable at the time of reading.
struct Variable {
    std::string name;
    std::optional<std::string> value;

    /// The value as the library reads it: "" if unset.
    std::string text() const { return value.value_or(""); }
};

/// One of the library's files. It is read once, so that `tree` and `document` are parsed from the
/// same text.
struct SourceFile {
    std::string_view title;
    Variable variable;
    std::string path;
    /// Why the file could not be read; empty if it was read.
    std::string unreadable;
    /// The errno of the failed read; 0 if there is none.
    int errorNumber = 0;
    located::Document document{""};
    /// Whether the library's reader accepts the text. If it does not, `tree` is null.
    bool loads = false;
    Json::Value tree;

    /// "path:line:column".
    std::string where(std::size_t offset) const;
    /// Why and where the file does not load; empty if it loads.
    std::string trouble() const;
};

/// All inputs of the library: environment, files, host addresses.
struct Sources {
    Variable instance;
    SourceFile appConfig;
    SourceFile nodeList;
    SourceFile managerNodeList;
    std::list<std::string> hostAddresses;
};

/// Each reads the file that the environment of this process names.
SourceFile readAppConfig();
SourceFile readNodeList();
SourceFile readManagerNodeList();

/// Each reads the file at the given path; the environment is ignored.
SourceFile readAppConfigAt(const std::string& path);
SourceFile readNodeListAt(const std::string& path);
SourceFile readManagerNodeListAt(const std::string& path);

/// Returns the given addresses or, if there are none, those of the host.
std::list<std::string> addressesOfHost(const std::vector<std::string>& localAddresses);

/// Reads all inputs in the environment of this process.
/// @param localAddresses Used instead of the host's addresses unless empty.
Sources readSources(const std::vector<std::string>& localAddresses = {});

} // namespace sysconfctl
