// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"

#include "base/Exceptions.h"
#include "config/Lists.h"
#include "locks/ClassLock.h"
#include "rules/ManagerNodes.h"

namespace Quarncommon {

namespace {

/// Returns -1 if the list is not read, or an exception was thrown.
template <typename Collect>
int collectFromManagerNodes(Collect collect) {
    int result = -1;
    runDroppingExceptions([&] {
        const ReadGuard<SysConfReader> guard;
        config::List list;
        if (config::readManagerNodeList(list)) {
            collect(list.root());
            result = 0;
        }
    });
    return result;
}

} // namespace

int SysConfReader::getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                                  std::list<std::string>& addresses) {
    return collectFromManagerNodes([&](const rules::Node& list) {
        rules::appendAddresses(list, fieldName, valuePrefix, addresses);
    });
}

// The published signature takes the tags by value.
int SysConfReader::getAllFloatIP(
    std::set<std::string> usages, // NOLINT(performance-unnecessary-value-param)
    std::map<std::string, std::set<std::string>>& floatIPs) {
    return collectFromManagerNodes(
        [&](const rules::Node& list) { rules::collectTaggedAddresses(list, usages, floatIPs); });
}

} // namespace Quarncommon
