#pragma once

#include "rules/Node.h"

#include <string>
#include <string_view>

/// Where a node list keeps its nodes and their addresses, and the one walk over the tags of
/// address entries. Like every rule, these are functions of a JSON value alone. A missing member
/// reads as null; a value of the wrong type throws what jsoncpp throws.
namespace Quarncommon::rules {

inline constexpr std::string_view kServiceTag = "service";
inline constexpr std::string_view kService2Tag = "service2";
inline constexpr std::string_view kMaintenanceTag = "maintenance";

/// The text with every byte lower-cased by `tolower`.
std::string lowerCased(std::string text);

/// The node entry of that id in a node list.
Node nodeEntry(const Node& list, const std::string& nodeId);

/// The address entries of a node entry.
Node addressEntries(const Node& node);

/// The role text of a node entry, "extAttr"."hostType".
std::string hostType(const Node& node);

/// The tenancy of a node entry, "assignedToTenancy".
std::string tenancy(const Node& node);

/// What a walk does after a tag.
enum class Walk { OtherTags, NextEntry, Stop };

/// Visits the tags of address entries in array order, lower-cased:
/// `Walk visit(const Node& entry, const std::string& tag)`.
template <typename Visit>
void forEachTag(const Node& addresses, Visit visit) {
    for (const Node& entry : addresses.elements()) {
        for (const Node& usage : entry["usage"].elements()) {
            const Walk next = visit(entry, lowerCased(usage.asString()));
            if (next == Walk::Stop) {
                return;
            }
            if (next == Walk::NextEntry) {
                break;
            }
        }
    }
}

} // namespace Quarncommon::rules
