#pragma once

#include "rules/Node.h"

#include <string>

namespace Quarncommon::rules {

/// Returns the address for traffic between the cluster's nodes: the "IP" of the first entry tagged
/// `internalServiceTag`, else of the last one tagged "maintenance", else "".
std::string internalServiceAddress(const Node& addresses, const std::string& internalServiceTag);

/// Sets the ids of the master and the standby node among the list's nodes that are assigned to
/// `tenancy`; an id without a candidate is not changed. The greatest id by bytes wins a role.
void findMasterAndStandby(const Node& list, const std::string& tenancy, std::string& masterNodeId,
                          std::string& standbyNodeId);

} // namespace Quarncommon::rules
