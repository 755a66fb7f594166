#include "SysConfReader.h"

#include "rules/ManagerNodes.h"
#include "sysconfreader/ManagerNodeList.h"

namespace Quarncommon {

int SysConfReader::getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                                  std::list<std::string>& addresses) {
    return askManagerNodeList(m_pMutex, turnsOf<SysConfReader>, [&](const rules::Node& list) {
        rules::appendAddresses(list, fieldName, valuePrefix, addresses);
    });
}

} // namespace Quarncommon
