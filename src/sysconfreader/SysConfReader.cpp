#include "SysConfReader.h"

#include "SysConfReaderImpl.h"
#include "rules/NodeList.h"
#include "sysconfreader/Loads.h"
#include "sysconfreader/UsageTags.h"
#include "sysconfreaderimpl/ChangeEvents.h"

#include <memory>

namespace Quarncommon {

// Built in this order when the library is loaded, before anything is read.
const std::string kInternalServiceUsage(kInternalServiceTag);
const std::string kSouthboundUsage(kSouthboundFamily);
const std::string kNorthboundUsage(kNorthboundFamily);
ACE_RW_Thread_Mutex SysConfReader::m_pMutex;

std::atomic<SysConfReader*> SysConfReader::m_pInstance{nullptr};

SysConfReader* SysConfReader::Instance() {
    // Pairs with the store in create: a thread that sees the pointer sees the loaded members.
    SysConfReader* reader = m_pInstance.load(std::memory_order_acquire);
    if (reader == nullptr) {
        reader = create();
        SysConfReaderImpl::finishLoad();
    }
    return reader;
}

SysConfReader* SysConfReader::create() {
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
    // Another thread published first because the lock failed, or an event that was delivered inside
    // the subscription did. The instance created here is discarded.
    return published;
}

void SysConfReader::Destory() {
    if (postponedUntilApplied(&SysConfReader::Destory)) {
        return;
    }
    SysConfReaderImpl::Instance();
    SysConfReaderImpl::Destory();
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReader>);
    // Unpublished first: Instance() reads the pointer without the lock.
    delete m_pInstance.exchange(nullptr);
    incomplete<SysConfReader> = false;
}

void SysConfReader::Reload() {
    {
        const WriteGuard guard(m_pMutex, turnsOf<SysConfReader>);
        reloadLocked();
    }
    SysConfReaderImpl::finishLoad();
}

void SysConfReader::reloadInstance() {
    Instance();
    // If another thread destroys the instance here, the next Instance() loads the changed files.
    reloadExisting();
}

void SysConfReader::reloadExisting() {
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReader>);
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
    missedEvent<SysConfReader> = false;
    const std::string appConfigPath = config::pathOf(config::kAppConfig);
    const std::string instanceId = config::environment(config::kInstanceIdVariable);
    load<SysConfReader>([&] { loadStep([&] { loadFiles(appConfigPath, instanceId); }); });
}

/// The two values that queries read without the lock, during a load. The load works on copies,
/// which replace the members in one step when it ends, also by an exception.
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
    if (readForLoad(appConfigPath, appConfig)) {
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
    if (!readForLoad(config::pathOf(config::kNodeList), list)) {
        return;
    }
    m_hostType = rules::hostType(rules::nodeEntry(list.root(), m_nodeId));
    if (m_hostType == "standby") {
        getSourceNodeId(floatNodeId);
    }
    // The role comes from this node, the host tag from the float node.
    m_hostTagName = rules::nodeEntry(list.root(), floatNodeId)["extAttr"]["HOSTID"].asString();
}

SysConfReader::Identity SysConfReader::identity() {
    noticeFork();
    const std::lock_guard<std::mutex> guard(m_identityMutex);
    return {m_floatNodeId, m_maintenanceIP};
}

} // namespace Quarncommon
