// The instance, the loader and the loaded values.

#include "baseline/SysConfReader.h"

#include "baseline/Files.h"
#include "baseline/SysConfReaderImpl.h"

#include <ace/Guard_T.h>

namespace baseline {

SysConfReader* SysConfReader::m_pInstance = nullptr;
ACE_RW_Thread_Mutex SysConfReader::m_pMutex;

SysConfReader* SysConfReader::Instance() {
    if (m_pInstance != nullptr) {
        return m_pInstance;
    }
    const ACE_Write_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    if (m_pInstance == nullptr) {
        auto* created = new SysConfReader;
        created->init_i();
        m_pInstance = created;
    }
    return m_pInstance;
}

void SysConfReader::Destory() {
    SysConfReaderImpl::Instance();
    SysConfReaderImpl::Destory();
    const ACE_Write_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    delete m_pInstance;
    m_pInstance = nullptr;
}

void SysConfReader::Reload() {
    const ACE_Write_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    m_dbInfo.clear();
    init_i();
}

void SysConfReader::init_i() {
    SysConfReaderImpl::Instance();
    const std::string appConfigPath = variable("APP_CONF_FILE");
    const std::string instanceId = variable("PROCESS_INSTANCE_ID");
    try {
        Json::Value root;
        if (readJsonFile(appConfigPath, root)) {
            Json::Value databases = root["databases"];
            for (const std::string& name : databases.getMemberNames()) {
                m_dbInfo[name] = databases[name];
            }
            Json::Value processes = root["processes"];
            m_maintenanceIP = processes[instanceId]["IR"]["ip"].asString();
            m_localhostIP = processes[instanceId]["local"]["ip"].asString();
            m_wssIP = processes[instanceId]["wss"]["ip"].asString();
            m_wssPort = processes[instanceId]["wss"]["port"].asInt();
            m_localPort = processes[instanceId]["local"]["port"].asInt();
            m_corbaPort = processes[instanceId]["CORBA"]["port"].asInt();
            m_corbaSSLPort = processes[instanceId]["CORBA_SSL"]["port"].asInt();
            m_nodeId = processes[instanceId]["nodeId"].asString();
            m_floatNodeId = m_nodeId;
        }
        if (!readJsonFile(variable("APP_ROOT") + "/etc/sysconf/nodelist.json", root)) {
            return;
        }
        m_hostType = root["nodeList"][m_nodeId]["extAttr"]["hostType"].asString();
        if (m_hostType == "standby") {
            getSourceNodeId(m_floatNodeId);
        }
        m_hostTagName = root["nodeList"][m_floatNodeId]["extAttr"]["HOSTID"].asString();
    } catch (...) {
        return;
    }
}

int SysConfReader::getLocalPort() {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_localPort;
}

std::string SysConfReader::getMaintenanceIPAddress() {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_maintenanceIP;
}

std::string SysConfReader::getFloatNodeId() {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_floatNodeId;
}

std::string SysConfReader::getLocalHostTagName() {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_hostTagName;
}

int SysConfReader::getDBAccessPort(const std::string& name, unsigned int index) {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    if (m_dbInfo.find(name) == m_dbInfo.end()) {
        return -1;
    }
    Json::Value database = m_dbInfo[name];
    return database[index]["accessPort"].asInt();
}

std::string SysConfReader::getDBUserName(const std::string& name, unsigned int index) {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    if (m_dbInfo.find(name) == m_dbInfo.end()) {
        return "";
    }
    Json::Value database = m_dbInfo[name];
    return database[index]["user"].asString();
}

} // namespace baseline
