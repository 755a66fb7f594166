#include "SysConfReader.h"

#include "SysConfReader_i.h"
#include "rules/SlotLists.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

#include <QuarnCommonUtils.h>

namespace Quarncommon {

int SysConfReader::getLocalPort() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_localPort);
}

int SysConfReader::getCorbaPort() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_corbaPort);
}

int SysConfReader::getCorbaSSLPort() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_corbaSSLPort);
}

int SysConfReader::GetWssPort() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_wssPort);
}

std::string SysConfReader::GetWssIPAddress() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_wssIP);
}

std::string SysConfReader::getLocalhostIPAddress() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_localhostIP);
}

std::string SysConfReader::getMaintenanceIPAddress() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_maintenanceIP);
}

std::string SysConfReader::getLocalHostTagName() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_hostTagName);
}

std::string SysConfReader::getFloatNodeId() {
    return copyUnder(m_pMutex, turnsOf<SysConfReader>, m_floatNodeId);
}

std::string SysConfReader::GetMasterInternalServiceIP() const {
    return SysConfReader_i::Instance()->GetMasterInternalServiceIP();
}

std::string SysConfReader::GetStandbyInternalServiceIP() const {
    return SysConfReader_i::Instance()->GetStandbyInternalServiceIP();
}

std::string SysConfReader::GetAppRoot() {
    return config::environment(config::kNodeList.variable);
}

int SysConfReader::getPFType() {
    // Before the read lock: creating the instance under it would deadlock with the write lock.
    SysConfReader* reader = Instance();
    const OuterReadGuard guard(m_pMutex, turnsOf<SysConfReader>);
    std::list<std::string> pieces;
    QuarnCommonUtils::split(reader->getLocalSouthIP(), ";", pieces);
    return rules::protocolFamily(pieces);
}

} // namespace Quarncommon
