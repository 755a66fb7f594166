#pragma once

#include "rules/Node.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Where a node list has its nodes and their addresses, and the one walk over the tags of address
/// entries. Like every rule, these are functions of a JSON value alone. A missing member reads as
/// null; a value of the wrong type throws what jsoncpp throws. Each rule takes time in proportion
/// to what it reads, whatever the values are.
namespace Quarncommon::rules {

inline constexpr std::string_view kServiceTag = "service";
inline constexpr std::string_view kService2Tag = "service2";
inline constexpr std::string_view kMaintenanceTag = "maintenance";

/// Returns the text with every byte lower-cased by `tolower`.
std::string lowerCased(std::string text);

/// Returns the node entry of that id in a node list.
Node nodeEntry(const Node& list, const std::string& nodeId);

/// Returns the address entries of a node entry.
Node addressEntries(const Node& node);

/// Returns the role of a node entry, "extAttr"."hostType".
std::string hostType(const Node& node);

/// Returns the tenancy of a node entry, "assignedToTenancy".
std::string tenancy(const Node& node);

/// What a walk does after a tag.
enum class Walk { OtherTags, NextEntry, Stop };

/// An address that several slots can have without copies.
using SharedAddress = std::shared_ptr<const std::string>;

/// An address entry, whose "IP" is read when it is first needed and only once. An entry can have
/// very many tags and a very long address: finding or copying it for each tag would take time that
/// grows with the square of the file's size.
class AddressEntry {
public:
    explicit AddressEntry(const Node& entry) : m_entry(entry) {}

    Node usage() const { return m_entry["usage"]; }

    /// Returns "IP" as text.
    /// @throws Json::Exception if it has the wrong type.
    const SharedAddress& address() {
        if (m_address == nullptr) {
            m_address = std::make_shared<const std::string>(m_entry["IP"].asString());
        }
        return m_address;
    }

    /// Whether this is the first call for that output. A rule copies the address into an output
    /// only then, because the copy for a further tag of the entry changes nothing.
    bool firstFor(const void* output) {
        if (std::find(m_outputs.begin(), m_outputs.end(), output) != m_outputs.end()) {
            return false;
        }
        m_outputs.push_back(output);
        return true;
    }

private:
    Node m_entry;
    SharedAddress m_address;
    std::vector<const void*> m_outputs;
};

/// Visits the tags of address entries in array order, lower-cased:
/// `Walk visit(AddressEntry& entry, const std::string& tag)`.
template <typename Visit>
void forEachTag(const Node& addresses, Visit visit) {
    for (const Node& node : addresses.elements()) {
        AddressEntry entry(node);
        for (const Node& usage : entry.usage().elements()) {
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
