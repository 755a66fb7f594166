#include "SysConfReader.h"

#include "rules/ManagerNodes.h"
#include "sysconfreader/ManagerNodeList.h"

namespace Quarncommon {

// The published signature takes the tags by value.
int SysConfReader::getAllFloatIP(
    std::set<std::string> usages, // NOLINT(performance-unnecessary-value-param)
    std::map<std::string, std::set<std::string>>& floatIPs) {
    return askManagerNodeList(m_pMutex, turnsOf<SysConfReader>, [&](const rules::Node& list) {
        rules::collectTaggedAddresses(list, usages, floatIPs);
    });
}

} // namespace Quarncommon
