// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/Exceptions.h"
#include "config/Lists.h"
#include "rules/NodeIPs.h"

#include <string>

namespace Quarncommon {

/// `collect` is not called if the list does not parse. The caller handles exceptions.
template <typename Collect>
void readNodeAddresses(const std::string& nodeId, Collect collect) {
    config::List list;
    if (config::readNodeList(list)) {
        collect(rules::addressEntries(rules::nodeEntry(list.root(), nodeId)));
    }
}

/// The same after `prepare`. An exception ends the walk, which then stays incomplete.
template <typename Prepare, typename Collect>
rules::TagWalk walkTags(const std::string& nodeId, Prepare prepare, Collect collect) {
    rules::TagWalk seen;
    runDroppingExceptions([&] {
        prepare();
        readNodeAddresses(nodeId, [&](const rules::Node& addresses) { collect(addresses, seen); });
    });
    return seen;
}

} // namespace Quarncommon
