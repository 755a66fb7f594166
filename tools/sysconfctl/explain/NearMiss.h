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

/// A name in the file, its place, and the name that was probably meant.
struct NearMiss {
    std::string name;
    std::string meant;
    located::Path path;
    /// The member is in the wrong object; its name may be right.
    bool misplaced = false;
};

/// A tag that a rule looks for, or a family of numbered tags.
struct AskedTag {
    std::string tag;
    bool family = false;
};

/// Returns the tag in `asked` of which a tag is probably a misspelling: "southbound3" for
/// "soutbound3". Returns "" if there is none. `tag` is in lower case and not taken by the rule.
std::string meantTag(const std::string& tag, const std::vector<AskedTag>& asked);

/// A tag without its number: "southbound" for "southbound3".
std::string_view tagFamily(std::string_view tag);

/// Returns the candidate that was probably meant; empty if there is none.
std::string nearestName(const std::string& name, const std::vector<std::string>& candidates);

/// Looks for an absent member under a misspelt name, in the enclosing object or in a sibling
/// object.
std::optional<NearMiss> misspeltMember(const Json::Value& root, const located::Path& path);

} // namespace sysconfctl
