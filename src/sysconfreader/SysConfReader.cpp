#include "SysConfReader.h"

#include "SysConfReaderImpl.h"
#include "rules/NodeList.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"
#include "sysconfreader/UsageTags.h"

#include <memory>

namespace Quarncommon {

// Built in this order when the library is loaded, before anything is read.
const std::string kInternalServiceUsage = "internal_service";
const std::string kSouthboundUsage(kSouthboundFamily);
const std::string kNorthboundUsage = "northbound";
ACE_RW_Thread_Mutex SysConfReader::m_pMutex;

std::atomic<SysConfReader*> SysConfReader::m_pInstance{nullptr};

SysConfReader* SysConfReader::Instance() {
    // Pairs with the store below: who sees the pointer sees the loaded members behind it.
    if (SysConfReader* reader = m_pInstance.load(std::memory_order_acquire)) {
        return reader;
    }
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReader>);
    if (SysConfReader* reader = m_pInstance.load(std::memory_order_acquire)) {
        return reader;
    }
    struct Discard {
        void operator()(SysConfReader* reader) const { delete reader; }
    };
    std::unique_ptr<SysConfReader, Discard> created(new SysConfReader);
    created->init_i();
    SysConfReader* published = nullptr;
    if (m_pInstance.compare_exchange_strong(published, created.get(), std::memory_order_acq_rel)) {
        return created.release();
    }
    // Only where the lock failed can another thread, or an event delivered from within the
    // subscription, have come first; the instance created here is then discarded.
    return published;
}

void SysConfReader::Destory() {
    SysConfReaderImpl::Instance();
    SysConfReaderImpl::Destory();
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReader>);
    delete m_pInstance.exchange(nullptr);
}

void SysConfReader::Reload() {
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReader>);
    reloadLocked();
}

void SysConfReader::reloadInstance() {
    Instance();
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReader>);
    // Destroyed by another thread since: whoever asks next loads what has changed.
    if (SysConfReader* reader = m_pInstance.load(std::memory_order_acquire)) {
        reader->reloadLocked();
    }
}

void SysConfReader::reloadLocked() {
    m_dbInfo.clear();
    init_i();
}

void SysConfReader::init_i() {
    SysConfReaderImpl::ensureSubscribed();
    const std::string appConfigPath = config::pathOf(config::kAppConfig);
    const std::string instanceId = config::environment(config::kInstanceIdVariable);
    completes([&] { loadFiles(appConfigPath, instanceId); });
}

/// What a load makes of the two values that are read without the lock: it works on copies, which
/// replace the members in one step when it ends, however it ends.
class SysConfReader::IdentityUpdate {
public:
    explicit IdentityUpdate(SysConfReader& reader) : loaded(reader.identity()), m_reader(reader) {}
    IdentityUpdate(const IdentityUpdate&) = delete;
    IdentityUpdate& operator=(const IdentityUpdate&) = delete;
    ~IdentityUpdate() {
        const std::lock_guard<std::mutex> guard(m_reader.m_identityMutex);
        m_reader.m_floatNodeId.swap(loaded.floatNodeId);
        m_reader.m_maintenanceIP.swap(loaded.maintenanceIP);
    }

    Identity loaded;

private:
    SysConfReader& m_reader;
};

// The order of the assignments is binding: a value of the wrong type throws and ends the load, with
// every member before it new and every member after it old.
void SysConfReader::loadFiles(const std::string& appConfigPath, const std::string& instanceId) {
    IdentityUpdate identity(*this);
    std::string& maintenanceIP = identity.loaded.maintenanceIP;
    std::string& floatNodeId = identity.loaded.floatNodeId;

    config::Document appConfig;
    if (config::readJsonFile(appConfigPath, appConfig)) {
        for (const auto& [name, database] : appConfig.root()["databases"].members()) {
            m_dbInfo[name] = database.value();
        }

        const rules::Node process = appConfig.root()["processes"][instanceId];
        maintenanceIP = process["IR"]["ip"].asString();
        m_localhostIP = process["local"]["ip"].asString();
        m_wssIP = process["wss"]["ip"].asString();
        m_wssPort = process["wss"]["port"].asInt();
        m_localPort = process["local"]["port"].asInt();
        m_corbaPort = process["CORBA"]["port"].asInt();
        m_corbaSSLPort = process["CORBA_SSL"]["port"].asInt();
        m_nodeId = process["nodeId"].asString();
        floatNodeId = m_nodeId;
    }

    config::Document list;
    if (!config::readJsonFile(config::pathOf(config::kNodeList), list)) {
        return;
    }
    m_hostType = rules::hostType(rules::nodeEntry(list.root(), m_nodeId));
    if (m_hostType == "standby") {
        getSourceNodeId(floatNodeId);
    }
    // The role is the own node's, the tag that of the node whose addresses are answered.
    m_hostTagName = rules::nodeEntry(list.root(), floatNodeId)["extAttr"]["HOSTID"].asString();
}

SysConfReader::Identity SysConfReader::identity() {
    const std::lock_guard<std::mutex> guard(m_identityMutex);
    return {m_floatNodeId, m_maintenanceIP};
}

} // namespace Quarncommon
