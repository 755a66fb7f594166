// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/Completion.h"
#include "cli/PartialCommandLine.h"

#include <string>
#include <vector>

namespace sysconfctl {

using Candidates = std::vector<Candidate>;

/// Names in the configuration files. Each function reads only the files that it needs; a file that
/// cannot be read or parsed has no names.
namespace deployed {

/// Applies the environment options of the line to this process. Must be called first.
/// @throws UsageError if the environment file cannot be read or an option is malformed.
void applyEnvironmentOf(const PartialCommandLine& line);

Candidates nodes();
Candidates tenancies();
/// The values of hostType and domain_node_type.
Candidates roles();
Candidates tags();
/// The tags without the numbers at their ends.
Candidates tagPrefixes();
Candidates addresses();
/// The ids of the nodes, their tags and their addresses.
Candidates words();
Candidates databases();
/// The indexes of the entries of a database.
Candidates entriesOf(const std::string& database);
/// The keys of the processes.
Candidates instances();
/// The names of the members of nodes in the manager node list whose values are texts.
Candidates fields();
/// The values of that member in all nodes.
Candidates valuesOf(const std::string& field);

} // namespace deployed

} // namespace sysconfctl
