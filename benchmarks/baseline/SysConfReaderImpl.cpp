#include "baseline/SysConfReaderImpl.h"

#include "baseline/Files.h"
#include "baseline/SysConfReader.h"

#include <ace/Guard_T.h>

namespace baseline {

namespace {

std::string nodeListPath() {
    return variable("APP_ROOT") + "/etc/sysconf/nodelist.json";
}

std::string managerNodeListPath() {
    return variable("TOLM_ROOT") + "/etc/sysconf/nodelists.json";
}

std::string internalServiceAddress(Json::Value addresses) {
    std::string fallback;
    for (Json::ArrayIndex i = 0; i < addresses.size(); ++i) {
        Json::Value usages = addresses[i]["usage"];
        for (Json::ArrayIndex j = 0; j < usages.size(); ++j) {
            const std::string tag = lowerCased(usages[j].asString());
            if (tag == "internal_service") {
                return addresses[i]["IP"].asString();
            }
            if (tag == "maintenance") {
                fallback = addresses[i]["IP"].asString();
            }
        }
    }
    return fallback;
}

} // namespace

SysConfReaderImpl* SysConfReaderImpl::m_pInstance = nullptr;
ACE_RW_Thread_Mutex SysConfReaderImpl::m_pMutex;

SysConfReaderImpl* SysConfReaderImpl::Instance() {
    if (m_pInstance != nullptr) {
        return m_pInstance;
    }
    const ACE_Write_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    if (m_pInstance == nullptr) {
        auto* created = new SysConfReaderImpl;
        created->Init_i();
        m_pInstance = created;
    }
    return m_pInstance;
}

void SysConfReaderImpl::Destory() {
    const ACE_Write_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    delete m_pInstance;
    m_pInstance = nullptr;
}

void SysConfReaderImpl::Reload() {
    SysConfReader::Instance()->Reload();
    const ACE_Write_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    Init_i();
}

void SysConfReaderImpl::Init_i() {
    InitLocalNodeId();
    InitLocalIp();
    InitAssignedToTenancy();
    InitMasterAndStandyNodeId();
    InitMasterAndStandyIp();
}

void SysConfReaderImpl::InitLocalNodeId() {
    try {
        Json::Value root;
        if (readJsonFile(variable("APP_CONF_FILE"), root)) {
            Json::Value processes = root["processes"];
            m_localNodeId = processes[variable("PROCESS_INSTANCE_ID")]["nodeId"].asString();
        }
    } catch (...) {
        return;
    }
}

void SysConfReaderImpl::InitLocalIp() {
    try {
        Json::Value root;
        if (readJsonFile(nodeListPath(), root)) {
            m_localInternalServiceIP =
                internalServiceAddress(root["nodeList"][m_localNodeId]["IPAddresses"]);
        }
    } catch (...) {
        return;
    }
}

void SysConfReaderImpl::InitAssignedToTenancy() {
    try {
        Json::Value root;
        if (readJsonFile(nodeListPath(), root)) {
            m_productName = root["nodeList"][m_localNodeId]["assignedToTenancy"].asString();
        }
    } catch (...) {
        return;
    }
}

void SysConfReaderImpl::InitMasterAndStandyNodeId() {
    try {
        Json::Value root;
        if (!readJsonFile(managerNodeListPath(), root)) {
            return;
        }
        Json::Value nodeList = root["nodeList"];
        for (const std::string& id : nodeList.getMemberNames()) {
            if (nodeList[id]["assignedToTenancy"].asString() != m_productName) {
                continue;
            }
            const std::string hostType = nodeList[id]["extAttr"]["hostType"].asString();
            const std::string domainType = nodeList[id]["extAttr"]["domain_node_type"].asString();
            if (hostType == "master" && domainType == "ACCESS_Master") {
                m_masterNodeId = id;
            } else if (hostType == "standby" && domainType == "ACCESS_Backup") {
                m_standbyNodeId = id;
            }
        }
    } catch (...) {
        return;
    }
}

void SysConfReaderImpl::InitMasterAndStandyIp() {
    try {
        Json::Value root;
        if (readJsonFile(managerNodeListPath(), root)) {
            m_masterInternalServiceIP =
                internalServiceAddress(root["nodeList"][m_masterNodeId]["IPAddresses"]);
            m_standbyInternalServiceIP =
                internalServiceAddress(root["nodeList"][m_standbyNodeId]["IPAddresses"]);
        }
    } catch (...) {
        return;
    }
}

std::string SysConfReaderImpl::GetLocalInternalServiceIP() const {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_localInternalServiceIP;
}

std::string SysConfReaderImpl::GetMasterInternalServiceIP() const {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_masterInternalServiceIP;
}

std::string SysConfReaderImpl::GetStandbyInternalServiceIP() const {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_standbyInternalServiceIP;
}

std::string SysConfReaderImpl::GetProductName() const {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_productName;
}

} // namespace baseline
