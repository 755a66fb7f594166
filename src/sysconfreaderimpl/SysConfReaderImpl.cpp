#include "SysConfReaderImpl.h"

#include "SysConfReader.h"
#include "rules/RoleLoad.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"
#include "sysconfreaderimpl/ChangeEvents.h"

#include <memory>

namespace Quarncommon {

namespace {

// The three families of usage tags, built when the library is loaded like those of SysConfReader;
// not read here.
const std::string kInternalServiceUsage = "internal_service";
const std::string kSouthboundUsage = "southbound";
const std::string kNorthboundUsage = "northbound";

} // namespace

const std::string kSysConfigEvent = "SysConfigEvent";
ACE_RW_Thread_Mutex SysConfReaderImpl::m_pMutex;

std::atomic<SysConfReaderImpl*> SysConfReaderImpl::m_pInstance{nullptr};

SysConfReaderImpl* SysConfReaderImpl::Instance() {
    // Pairs with the store below: who sees the pointer sees the loaded members behind it.
    if (SysConfReaderImpl* reader = m_pInstance.load(std::memory_order_acquire)) {
        return reader;
    }
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReaderImpl>);
    if (SysConfReaderImpl* reader = m_pInstance.load(std::memory_order_acquire)) {
        return reader;
    }
    // An instance that was never published ends no subscription: the event library might wait for a
    // callback that waits for the lock held here. Nor does an event for it do any harm.
    struct Discard {
        void operator()(SysConfReaderImpl* reader) const {
            reader->m_consumerInited = false;
            delete reader;
        }
    };
    std::unique_ptr<SysConfReaderImpl, Discard> created(new SysConfReaderImpl);
    created->Init_i();
    SysConfReaderImpl* published = nullptr;
    if (m_pInstance.compare_exchange_strong(published, created.get(), std::memory_order_acq_rel)) {
        return created.release();
    }
    // Only where the lock failed can another thread have come first.
    return published;
}

std::string SysConfReaderImpl::currentAnswer(std::string SysConfReaderImpl::*answer) {
    for (;;) {
        Instance();
        const ReadGuard guard(m_pMutex, turnsOf<SysConfReaderImpl>);
        // Null when another thread has destroyed the instance in between: then once more.
        if (const SysConfReaderImpl* reader = m_pInstance.load(std::memory_order_acquire)) {
            return reader->*answer;
        }
    }
}

void SysConfReaderImpl::Reload() {
    SysConfReader::reloadInstance();
    const WriteGuard guard(m_pMutex, turnsOf<SysConfReaderImpl>);
    Init_i();
}

void SysConfReaderImpl::Init_i() {
    InitConsumer();
    InitLocalNodeId();
    InitLocalIp();
    InitAssignedToTenancy();
    InitMasterAndStandyNodeId();
    InitMasterAndStandyIp();
}

// Each step below reads its own file and ends at the first error, keeping what it has not assigned.

void SysConfReaderImpl::InitLocalNodeId() {
    completes([this] {
        const std::string instanceId = config::environment(config::kInstanceIdVariable);
        Json::Value root;
        if (config::readJsonFile(config::pathOf(config::kAppConfig), root)) {
            rules::loadLocalNodeId(rules::Node(root), instanceId, m_localNodeId);
        }
    });
}

void SysConfReaderImpl::InitLocalIp() {
    completes([this] {
        config::Document list;
        if (config::readJsonFile(GetNodeListFilePath(), list)) {
            rules::loadLocalIp(list.root(), m_localNodeId, m_localInternalServiceIP);
        }
    });
}

void SysConfReaderImpl::InitAssignedToTenancy() {
    completes([this] {
        config::Document list;
        if (config::readJsonFile(GetNodeListFilePath(), list)) {
            rules::loadTenancy(list.root(), m_localNodeId, m_productName);
        }
    });
}

void SysConfReaderImpl::InitMasterAndStandyNodeId() {
    completes([this] {
        config::Document list;
        if (config::readJsonFile(GetManagerNodeListFilePath(), list)) {
            rules::loadRoleNodeIds(list.root(), m_productName, m_masterNodeId, m_standbyNodeId);
        }
    });
}

void SysConfReaderImpl::InitMasterAndStandyIp() {
    completes([this] {
        config::Document list;
        if (config::readJsonFile(GetManagerNodeListFilePath(), list)) {
            rules::loadRoleIps(list.root(), m_masterNodeId, m_standbyNodeId,
                               m_masterInternalServiceIP, m_standbyInternalServiceIP);
        }
    });
}

std::string SysConfReaderImpl::GetInternalIp(const Json::Value& addresses) const {
    return rules::internalServiceAddress(rules::Node(addresses));
}

std::string SysConfReaderImpl::GetNodeListFilePath() const {
    return config::pathOf(config::kNodeList);
}

std::string SysConfReaderImpl::GetManagerNodeListFilePath() const {
    return config::pathOf(config::kManagerNodeList);
}

std::string SysConfReaderImpl::GetLocalInternalServiceIP() const {
    return copyUnder(m_pMutex, turnsOf<SysConfReaderImpl>, m_localInternalServiceIP);
}

std::string SysConfReaderImpl::GetMasterInternalServiceIP() const {
    return copyUnder(m_pMutex, turnsOf<SysConfReaderImpl>, m_masterInternalServiceIP);
}

std::string SysConfReaderImpl::GetStandbyInternalServiceIP() const {
    return copyUnder(m_pMutex, turnsOf<SysConfReaderImpl>, m_standbyInternalServiceIP);
}

std::string SysConfReaderImpl::GetProductName() const {
    return copyUnder(m_pMutex, turnsOf<SysConfReaderImpl>, m_productName);
}

} // namespace Quarncommon
