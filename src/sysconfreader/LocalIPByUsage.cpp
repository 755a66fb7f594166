#include "rules/LocalIPByUsage.h"

#include "SysConfReader.h"
#include "rules/NodeList.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

namespace Quarncommon {

std::string SysConfReader::getLocalIPByUsage(const std::string& usage) {
    std::string address;
    completes([&] {
        const std::string tag = rules::lowerCased(usage);
        const ReadGuard guard(m_pMutex, turnsOf<SysConfReader>);
        config::Document list;
        if (!config::readJsonFile(config::pathOf(config::kNodeList), list)) {
            return;
        }
        // A standby node keeps its own maintenance address.
        const std::string& nodeId = tag == rules::kMaintenanceTag ? m_nodeId : m_floatNodeId;
        address =
            rules::addressByTag(rules::addressEntries(rules::nodeEntry(list.root(), nodeId)), tag);
    });
    return address;
}

std::string SysConfReader::getLocalMaintenanceIP() {
    return getLocalIPByUsage(std::string(rules::kMaintenanceTag));
}

std::string SysConfReader::getLocalServiceIP() {
    std::string address = getLocalIPByUsage(std::string(rules::kServiceTag));
    if (address.empty()) {
        completes([&] {
            const ReadGuard guard(m_pMutex, turnsOf<SysConfReader>);
            address = m_maintenanceIP;
        });
    }
    return address;
}

std::string SysConfReader::getLocalService2IP() {
    return getLocalIPByUsage(std::string(rules::kService2Tag));
}

} // namespace Quarncommon
