#pragma once

#include <ace/RW_Thread_Mutex.h>
#include <json/value.h>

#include <string>

namespace baseline {

/// The role reader, written as literally as SysConfReader. It has no change events: the product is
/// measured without them.
class SysConfReaderImpl {
public:
    static SysConfReaderImpl* Instance();
    static void Destory();
    void Reload();

    void InitMasterAndStandyNodeId();
    void InitMasterAndStandyIp();

    std::string GetLocalInternalServiceIP() const;
    std::string GetMasterInternalServiceIP() const;
    std::string GetStandbyInternalServiceIP() const;
    std::string GetProductName() const;

private:
    void Init_i();
    void InitLocalNodeId();
    void InitLocalIp();
    void InitAssignedToTenancy();

    std::string m_masterNodeId;
    std::string m_standbyNodeId;
    std::string m_localNodeId;
    std::string m_productName;
    std::string m_masterInternalServiceIP;
    std::string m_standbyInternalServiceIP;
    std::string m_localInternalServiceIP;

    static SysConfReaderImpl* m_pInstance;
    static ACE_RW_Thread_Mutex m_pMutex;
};

} // namespace baseline
