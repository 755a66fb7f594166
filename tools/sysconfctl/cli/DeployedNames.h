// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/Completion.h"
#include "cli/PartialCommandLine.h"

#include <string>
#include <vector>

namespace sysconfctl {

using Candidates = std::vector<Candidate>;

/// Each function reads only the files that it needs; a file that does not load has no names.
namespace deployed {

/// Must be called first. Throws UsageError if an option or the environment file is malformed.
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
Candidates entriesOf(const std::string& database);
Candidates instances();
/// The names of the members of nodes in the manager node list whose values are texts.
Candidates fields();
Candidates valuesOf(const std::string& field);

} // namespace deployed

} // namespace sysconfctl
