// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"

#include "base/Exceptions.h"
#include "locks/ClassLock.h"
#include "rules/LocalIPByUsage.h"
#include "sysconfreader/NodeAddresses.h"

namespace Quarncommon {

std::string SysConfReader::getLocalIPByUsage(const std::string& usage) {
    std::string address;
    runDroppingExceptions([&] {
        const std::string tag = rules::lowerCased(usage);
        const ReadGuard<SysConfReader> guard;
        readNodeAddresses(
            rules::nodeForTag(tag, m_nodeId, m_floatNodeId),
            [&](const rules::Node& addresses) { address = rules::addressByTag(addresses, tag); });
    });
    return address;
}

std::string SysConfReader::getLocalMaintenanceIP() {
    return getLocalIPByUsage(std::string(rules::kMaintenanceTag));
}

std::string SysConfReader::getLocalServiceIP() {
    std::string address = getLocalIPByUsage(std::string(rules::kServiceTag));
    if (address.empty()) {
        runDroppingExceptions([&] {
            const ReadGuard<SysConfReader> guard;
            address = m_maintenanceIP;
        });
    }
    return address;
}

std::string SysConfReader::getLocalService2IP() {
    return getLocalIPByUsage(std::string(rules::kService2Tag));
}

} // namespace Quarncommon
