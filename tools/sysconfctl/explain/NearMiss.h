// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "located/Document.h"

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Names in a file that are probably meant to be those that a rule reads.
namespace sysconfctl {

/// A name of the file, where it is, and what was probably meant.
struct NearMiss {
    std::string name;
    std::string meant;
    located::Path path;
    /// The member is in the wrong object; its name may be right.
    bool misplaced = false;
};

/// A tag that is asked for, or the family of its numbered tags.
struct AskedTag {
    std::string tag;
    bool family = false;
};

/// The tag asked for that a lower-cased tag, which the rule does not take, was probably meant to
/// be; empty if there is none: "southbound3" for "soutbound3".
std::string meantTag(const std::string& tag, const std::vector<AskedTag>& asked);

/// A tag without its number: "southbound" for "southbound3".
std::string_view tagFamily(std::string_view tag);

/// Of several names the one that is probably meant; empty if none is.
std::string nearestName(const std::string& name, const std::vector<std::string>& candidates);

/// Looks for an absent member of a document under a misspelt name, or in an object around or beside
/// the one in which it is read.
std::optional<NearMiss> misspeltMember(const Json::Value& root, const located::Path& path);

} // namespace sysconfctl
