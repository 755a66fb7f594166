// SPDX-License-Identifier: Apache-2.0
#include "rules/SourceNodeId.h"

#include <set>
#include <string_view>

namespace Quarncommon::rules {

const std::string* sourceNode(const std::map<std::string, std::string>& serviceAddresses,
                              const std::list<std::string>& hostAddresses, Trace* trace) {
    const std::set<std::string_view> host(hostAddresses.begin(), hostAddresses.end());
    for (const auto& [id, address] : serviceAddresses) {
        const bool carried = host.contains(address);
        if (trace != nullptr) {
            trace->report(SourceCompared{id, address, carried});
        }
        if (carried) {
            return &id;
        }
    }
    return nullptr;
}

} // namespace Quarncommon::rules
