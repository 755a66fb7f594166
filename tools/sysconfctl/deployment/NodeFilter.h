// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Cluster.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Empty lists accept every node; roles and tags are case-insensitive.
struct NodeFilter {
    std::vector<std::string> tenancies;
    /// Any of these as hostType or domain_node_type.
    std::vector<std::string> roles;
    std::vector<std::string> tags;
    std::vector<std::string> missingTags;
};

/// With such a value no node is accepted.
std::vector<std::string> unknownValues(const Cluster& cluster, const NodeFilter& filter);
/// Such a tag excludes no node.
std::vector<std::string> unknownMissingTags(const Cluster& cluster, const NodeFilter& filter);

void keepAccepted(Cluster& cluster, const NodeFilter& filter);

std::vector<std::string_view> sortFields();

/// Runs of digits are compared by their numeric value. Nodes without the field come last.
void sortNodes(Cluster& cluster, std::string_view field);

} // namespace sysconfctl
