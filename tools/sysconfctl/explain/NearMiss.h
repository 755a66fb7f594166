// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "located/Document.h"

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Finds names in a file that are probably misspellings of names that a rule reads.
namespace sysconfctl {

struct NearMiss {
    std::string name;
    std::string meant;
    located::Path path;
    /// Its name may be right.
    bool misplaced = false;
};

struct AskedTag {
    std::string tag;
    bool family = false;
};

/// "southbound3" for "soutbound3", "" for none. `tag` is in lower case and not taken.
std::string meantTag(const std::string& tag, const std::vector<AskedTag>& asked);

/// A tag without its number: "southbound" for "southbound3".
std::string_view tagFamily(std::string_view tag);

std::string nearestName(const std::string& name, const std::vector<std::string>& candidates);

/// Searches the enclosing object and the sibling objects.
std::optional<NearMiss> misspeltMember(const Json::Value& root, const located::Path& path);

} // namespace sysconfctl
