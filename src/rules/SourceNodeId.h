#pragma once

#include "rules/Node.h"

#include <list>
#include <map>
#include <string>

namespace Quarncommon::rules {

/// Adds the service address of every node that is not a standby and has one: node id -> "IP" of
/// its last entry tagged "service". If a value of the wrong type throws, what was found before it
/// stays in the table.
void collectServiceAddresses(const Node& list,
                             std::map<std::string, std::string>& serviceAddresses);

/// Returns the smallest node id whose service address is one of the host's addresses, null if none
/// is.
const std::string* sourceNode(const std::map<std::string, std::string>& serviceAddresses,
                              const std::list<std::string>& hostAddresses);

} // namespace Quarncommon::rules
