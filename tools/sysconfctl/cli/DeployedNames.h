#pragma once

#include "cli/Completion.h"
#include "cli/PartialCommandLine.h"
#include "deployment/Cluster.h"

#include <string>
#include <vector>

namespace sysconfctl {

using Candidates = std::vector<Candidate>;

/// Names in the files of the environment, with what the line being typed changes of it. What cannot
/// be read holds none.
class DeployedNames {
public:
    /// @throws UsageError when the line's part of the environment cannot be had.
    explicit DeployedNames(const Typed& typed);

    Candidates nodes() const;
    Candidates tags() const;
    /// The same without the numbers at their ends.
    Candidates tagPrefixes() const;
    Candidates addresses() const;
    Candidates databases() const;
    /// Indexes of its entries.
    Candidates entriesOf(const std::string& database) const;
    /// Keys of processes.
    Candidates instances() const;
    /// Members of nodes that are texts, of the list of all nodes.
    Candidates fields() const;
    /// What that member holds, node by node.
    Candidates valuesOf(const std::string& field) const;

private:
    Sources m_sources;
    Cluster m_cluster;
};

} // namespace sysconfctl
