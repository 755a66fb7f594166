#pragma once

#include "rules/Node.h"

#include <list>
#include <map>
#include <set>
#include <string>

/// Queries over all nodes of a node list, in ascending order of node ids. If a value of the wrong
/// type throws, what was collected before it stays in the output.
namespace Quarncommon::rules {

/// Appends every non-empty "IP" of every node whose member `fieldName`, as text, begins with
/// `valuePrefix`.
void appendAddresses(const Node& list, const std::string& fieldName, const std::string& valuePrefix,
                     std::list<std::string>& addresses);

/// Inserts node id -> the "IP"s of the entries that have any of `tags` (lower case), for every node
/// whose id is not a key yet.
void collectTaggedAddresses(const Node& list, const std::set<std::string>& tags,
                            std::map<std::string, std::set<std::string>>& byNode);

} // namespace Quarncommon::rules
