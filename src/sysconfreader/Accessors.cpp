// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"

#include "SysConfReader_i.h"
#include "config/ConfigFiles.h"
#include "locks/ClassLock.h"
#include "rules/SlotLists.h"

#include <QuarnCommonUtils.h>

namespace Quarncommon {

int SysConfReader::getLocalPort() {
    return copyLocked<SysConfReader>(m_localPort);
}

int SysConfReader::getCorbaPort() {
    return copyLocked<SysConfReader>(m_corbaPort);
}

int SysConfReader::getCorbaSSLPort() {
    return copyLocked<SysConfReader>(m_corbaSSLPort);
}

int SysConfReader::GetWssPort() {
    return copyLocked<SysConfReader>(m_wssPort);
}

std::string SysConfReader::GetWssIPAddress() {
    return copyLocked<SysConfReader>(m_wssIP);
}

std::string SysConfReader::getLocalhostIPAddress() {
    return copyLocked<SysConfReader>(m_localhostIP);
}

std::string SysConfReader::getMaintenanceIPAddress() {
    return copyLocked<SysConfReader>(m_maintenanceIP);
}

std::string SysConfReader::getLocalHostTagName() {
    return copyLocked<SysConfReader>(m_hostTagName);
}

std::string SysConfReader::getFloatNodeId() {
    return copyLocked<SysConfReader>(m_floatNodeId);
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
    const OuterReadGuard<SysConfReader> guard;
    std::list<std::string> pieces;
    QuarnCommonUtils::split(reader->getLocalSouthIP(), ";", pieces);
    return rules::protocolFamily(pieces);
}

} // namespace Quarncommon
