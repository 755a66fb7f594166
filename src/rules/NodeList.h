// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/Trace.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Access to nodes and addresses of a node list. A missing member reads as null; a value of the
/// wrong type throws what jsoncpp throws. Each rule takes time in proportion to what it reads.
namespace Quarncommon::rules {

inline constexpr std::string_view kServiceTag = "service";
inline constexpr std::string_view kService2Tag = "service2";
inline constexpr std::string_view kMaintenanceTag = "maintenance";
inline constexpr std::string_view kInternalServiceTag = "internal_service";
inline constexpr std::string_view kSouthboundFamily = "southbound";
inline constexpr std::string_view kNorthboundFamily = "northbound";

std::string lowerCased(std::string text);

template <typename AnyNode>
AnyNode nodeEntry(const AnyNode& list, const std::string& nodeId) {
    AnyNode node = list["nodeList"][nodeId];
    report(node, [&](const Path& path) { return NodeLookup{path, !node.value().isNull()}; });
    return node;
}

template <typename AnyNode>
AnyNode addressEntries(const AnyNode& node) {
    return node["IPAddresses"];
}

template <typename AnyNode>
std::string hostType(const AnyNode& node) {
    return node["extAttr"]["hostType"].asString();
}

template <typename AnyNode>
std::string tenancy(const AnyNode& node) {
    return node["assignedToTenancy"].asString();
}

/// What a walk does after a tag.
enum class Walk { OtherTags, NextEntry, Stop };

/// An address that several slots can have without copies.
using SharedAddress = std::shared_ptr<const std::string>;

/// Its "IP" is read once: an entry can have many tags and a long address.
template <typename AnyNode>
class AddressEntry {
public:
    explicit AddressEntry(AnyNode entry) : m_entry(std::move(entry)) {
        report(m_entry, [](const Path& path) { return EntryVisited{path}; });
    }

    AnyNode usage() const { return m_entry["usage"]; }

    /// @throws Json::Exception if "IP" has the wrong type.
    const SharedAddress& address() {
        if (m_address == nullptr) {
            m_address = std::make_shared<const std::string>(m_entry["IP"].asString());
        }
        return m_address;
    }

    /// Whether this is the first call for that output. Further copies would change nothing.
    bool firstFor(const void* output) {
        if (std::find(m_outputs.begin(), m_outputs.end(), output) != m_outputs.end()) {
            return false;
        }
        m_outputs.push_back(output);
        return true;
    }

    template <typename Slot>
    void reportTaken(const Slot& slot) const {
        report(m_entry, [&](const Path& path) {
            return SlotFilled{slotName(slot), path, *m_address};
        });
    }
    void reportKept(int slot) const {
        report(m_entry, [&](const Path& path) { return SlotKept{slotName(slot), path}; });
    }
    void reportCollected() const {
        report(m_entry, [&](const Path& path) { return Collected{path, *m_address}; });
    }

private:
    AnyNode m_entry;
    SharedAddress m_address;
    std::vector<const void*> m_outputs;
};

template <typename AnyNode>
std::string tagText(const AnyNode& usage) {
    std::string tag = lowerCased(usage.asString());
    report(usage, [&](const Path& path) { return TagCompared{path, tag}; });
    return tag;
}

/// Visits the tags in array order, lower-cased.
template <typename AnyNode, typename Visit>
void forEachTag(const AnyNode& addresses, Visit visit) {
    for (const AnyNode& node : addresses.elements()) {
        AddressEntry<AnyNode> entry(node);
        for (const AnyNode& usage : entry.usage().elements()) {
            const Walk next = visit(entry, tagText(usage));
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
