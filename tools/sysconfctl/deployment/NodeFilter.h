// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Cluster.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Which nodes to list. Empty lists accept every node.
struct NodeFilter {
    /// Any of them.
    std::vector<std::string> tenancies;
    /// Any of them, as hostType or domain_node_type, in any case.
    std::vector<std::string> roles;
    /// All of them, in any case.
    std::vector<std::string> tags;
    /// None of them, in any case.
    std::vector<std::string> missingTags;
};

/// Returns the sentences about values that no node has, so that no node is accepted.
std::vector<std::string> unknownValues(const Cluster& cluster, const NodeFilter& filter);
/// The same about missing tags that no node has, so that they exclude no node.
std::vector<std::string> unknownMissingTags(const Cluster& cluster, const NodeFilter& filter);

/// Removes the nodes that the filter does not accept.
void keepAccepted(Cluster& cluster, const NodeFilter& filter);

/// The fields by which nodes can be sorted.
std::vector<std::string_view> sortFields();

/// Sorts by a field, numbers in texts by their value; nodes without it come last. Nodes with the
/// same value keep their order.
void sortNodes(Cluster& cluster, std::string_view field);

} // namespace sysconfctl
