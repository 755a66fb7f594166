#pragma once

#include <json/value.h>

#include <string>
#include <string_view>

/// Where a node list keeps its nodes and their addresses, and the one walk over the tags of
/// address entries. Like every rule, these depend on a JSON text alone. A missing member reads as
/// null; a value of the wrong type throws what jsoncpp throws.
///
/// Rules over a whole list take it as a `Node`: JsonTreeNode, or the platform's JsonDocument::Node,
/// which answer the same questions. Values are built as late as a rule reads them.
namespace Quarncommon::rules {

inline constexpr std::string_view kServiceTag = "service";
inline constexpr std::string_view kService2Tag = "service2";
inline constexpr std::string_view kMaintenanceTag = "maintenance";

/// The text with every byte lower-cased by `tolower`.
std::string lowerCased(std::string text);

/// The node entry of that id in a node list.
template <typename Node>
Node nodeEntry(const Node& list, const std::string& nodeId) {
    return list["nodeList"][nodeId];
}

/// The address entries of a node entry, built as far as rules read them.
template <typename Node>
decltype(auto) addressEntries(const Node& node) {
    return node["IPAddresses"].value({"IP", "usage"});
}

/// The role text of a node entry.
template <typename Node>
std::string hostType(const Node& node) {
    return node["extAttr"]["hostType"].value().asString();
}

/// The tenancy of a node entry.
template <typename Node>
std::string tenancy(const Node& node) {
    return node["assignedToTenancy"].value().asString();
}

/// What a walk does after a tag.
enum class Walk { OtherTags, NextEntry, Stop };

/// Visits the tags of address entries in array order, lower-cased:
/// `Walk visit(const Json::Value& entry, const std::string& tag)`.
template <typename Visit>
void forEachTag(const Json::Value& addresses, Visit visit) {
    for (Json::ArrayIndex i = 0; i < addresses.size(); ++i) {
        const Json::Value& entry = addresses[i];
        const Json::Value& usage = entry["usage"];
        for (Json::ArrayIndex j = 0; j < usage.size(); ++j) {
            const Walk next = visit(entry, lowerCased(usage[j].asString()));
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
