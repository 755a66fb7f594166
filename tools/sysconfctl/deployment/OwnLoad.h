// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// A configuration file in the load of the library in this process.
struct LoadedFile {
    std::string_view name;
    /// Empty if its variable is unset.
    std::string path;
    bool loaded;
    /// "loaded", or why not: "malformed at 3:2".
    std::string outcome;
};

/// The last load of the library in this process, and its subscription to change events.
struct OwnLoad {
    unsigned long long number;
    /// "subscribed through libeventcbutil.so", or why not.
    std::string subscription;
    std::vector<LoadedFile> files;
};

OwnLoad ownLoad();

/// A line of a load: a label and an escaped text.
struct OwnLoadLine {
    std::string label;
    std::string text;
};
std::vector<OwnLoadLine> linesOf(const OwnLoad& load);

/// {"number", "subscription", "files": [{"name", "path", "loaded", "outcome"}]}
Json::Value toJson(const OwnLoad& load);

} // namespace sysconfctl
