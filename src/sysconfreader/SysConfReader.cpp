#include "SysConfReader.h"

#include "SysConfReaderImpl.h"
#include "rules/ReaderLoad.h"
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

void SysConfReader::loadFiles(const std::string& appConfigPath, const std::string& instanceId) {
    IdentityUpdate identity(*this);
    const rules::ReaderValues values{.databases = m_dbInfo,
                                     .maintenanceIP = identity.loaded.maintenanceIP,
                                     .localhostIP = m_localhostIP,
                                     .wssIP = m_wssIP,
                                     .wssPort = m_wssPort,
                                     .localPort = m_localPort,
                                     .corbaPort = m_corbaPort,
                                     .corbaSSLPort = m_corbaSSLPort,
                                     .nodeId = m_nodeId,
                                     .hostType = m_hostType,
                                     .floatNodeId = identity.loaded.floatNodeId,
                                     .hostTagName = m_hostTagName};
    Json::Value appConfig;
    if (config::readJsonFile(appConfigPath, appConfig)) {
        rules::loadAppConfig(rules::Node(appConfig), instanceId, values);
    }
    config::Document list;
    if (config::readJsonFile(config::pathOf(config::kNodeList), list)) {
        const auto replaceBySource = [this](std::string& nodeId) { getSourceNodeId(nodeId); };
        rules::loadNodeList(list.root(), replaceBySource, values);
    }
}

SysConfReader::Identity SysConfReader::identity() {
    const std::lock_guard<std::mutex> guard(m_identityMutex);
    return {m_floatNodeId, m_maintenanceIP};
}

} // namespace Quarncommon
