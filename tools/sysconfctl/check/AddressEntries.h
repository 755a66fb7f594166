// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check/Checker.h"

#include <map>

namespace sysconfctl {

/// The uses of an address for one purpose: node and place.
using Owners = std::map<std::pair<std::string, std::string>,
                        std::vector<std::pair<std::string, located::Path>>>;

void checkAddresses(Checker& checker, const SourceFile& list, const located::Path& node,
                    Owners& owners);

/// Reports addresses that several nodes have for one purpose.
void checkOwners(Checker& checker, const SourceFile& list, const Owners& owners);

} // namespace sysconfctl
