// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Cluster.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Which nodes to list. Empty lists accept every node.
struct NodeFilter {
    /// Accepts nodes of any of these tenancies.
    std::vector<std::string> tenancies;
    /// Accepts nodes with any of these as hostType or domain_node_type; case-insensitive.
    std::vector<std::string> roles;
    /// Accepts nodes with all of these tags; case-insensitive.
    std::vector<std::string> tags;
    /// Accepts nodes with none of these tags; case-insensitive.
    std::vector<std::string> missingTags;
};

/// Returns a sentence for each value that no node has. With such a value no node is accepted.
std::vector<std::string> unknownValues(const Cluster& cluster, const NodeFilter& filter);
/// Returns a sentence for each of `missingTags` that no node has. Such a tag excludes no node.
std::vector<std::string> unknownMissingTags(const Cluster& cluster, const NodeFilter& filter);

/// Removes the nodes that the filter does not accept.
void keepAccepted(Cluster& cluster, const NodeFilter& filter);

/// The fields by which nodes can be sorted.
std::vector<std::string_view> sortFields();

/// Sorts nodes by a field. Runs of digits are compared by their numeric value. Nodes without the
/// field come last. The sort is stable.
void sortNodes(Cluster& cluster, std::string_view field);

} // namespace sysconfctl
