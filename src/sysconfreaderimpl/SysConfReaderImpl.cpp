// SPDX-License-Identifier: Apache-2.0
#include "SysConfReaderImpl.h"

#include "SysConfReader.h"
#include "config/ConfigFiles.h"
#include "config/Lists.h"
#include "config/Shortages.h"
#include "locks/ClassLock.h"
#include "rules/RoleLoad.h"
#include "status/LoadRecord.h"
#include "sysconfreader/UsageTags.h"
#include "sysconfreaderimpl/ChangeEvents.h"

#include <memory>

namespace Quarncommon {

namespace {

// Built when the library is loaded, after those of SysConfReader, and not read: see UsageTags.h.
const std::string kRolesInternalServiceUsage(kInternalServiceTag);
[[maybe_unused]] const std::string kRolesSouthboundUsage(kSouthboundFamily);
[[maybe_unused]] const std::string kRolesNorthboundUsage(kNorthboundFamily);

template <typename Rule>
void loadNodeList(const SysConfReaderImpl& reader, Rule rule) {
    status::loadFile<config::List>(
        &status::Load::nodeList,
        [&](config::List& list, config::TextPlace* fault) {
            return config::readNodeList(reader.GetNodeListFilePath(), list, fault);
        },
        rule);
}

template <typename Rule>
void loadManagerNodeList(const SysConfReaderImpl& reader, Rule rule) {
    status::loadFile<config::List>(
        &status::Load::managerNodeList,
        [&](config::List& list, config::TextPlace* fault) {
            return config::readManagerNodeList(reader.GetManagerNodeListFilePath(), list, fault);
        },
        rule);
}

} // namespace

[[maybe_unused]] const std::string kSysConfigEvent(kChangeEvent);
ACE_RW_Thread_Mutex SysConfReaderImpl::m_pMutex;

std::atomic<SysConfReaderImpl*> SysConfReaderImpl::m_pInstance{nullptr};

SysConfReaderImpl* SysConfReaderImpl::Instance() {
    // Pairs with the store in create: a thread that sees the pointer sees the loaded members.
    SysConfReaderImpl* reader = m_pInstance.load(std::memory_order_acquire);
    if (reader == nullptr) {
        reader = create();
        finishLoad();
    }
    return reader;
}

SysConfReaderImpl* SysConfReaderImpl::create() {
    const WriteGuard<SysConfReaderImpl> guard;
    if (SysConfReaderImpl* reader = m_pInstance.load(std::memory_order_acquire)) {
        return reader;
    }
    // An instance that was never published does not end its subscription: the event library might
    // wait for a callback that waits for the lock held here.
    struct Discard {
        void operator()(SysConfReaderImpl* reader) const {
            reader->m_consumerInited = false;
            delete reader;
        }
    };
    std::unique_ptr<SysConfReaderImpl, Discard> created(new SysConfReaderImpl);
    created->Init_i();
    SysConfReaderImpl* published = nullptr;
    if (m_pInstance.compare_exchange_strong(published, created.get())) {
        return created.release();
    }
    // Its subscription may have replaced that of the published instance.
    if (created->m_consumerInited) {
        subscribeAgain();
    }
    return published;
}

std::string SysConfReaderImpl::currentAnswer(std::string SysConfReaderImpl::*answer) {
    for (;;) {
        Instance();
        const ReadGuard<SysConfReaderImpl> guard;
        // Null if another thread has destroyed the instance in between; then try again.
        if (const SysConfReaderImpl* reader = m_pInstance.load(std::memory_order_acquire)) {
            return reader->*answer;
        }
    }
}

void SysConfReaderImpl::Reload() {
    SysConfReader::reloadInstance();
    {
        const WriteGuard<SysConfReaderImpl> guard;
        Init_i();
    }
    finishLoad();
}

void SysConfReaderImpl::reloadExisting() {
    const WriteGuard<SysConfReaderImpl> guard;
    if (SysConfReaderImpl* reader = m_pInstance.load(std::memory_order_acquire)) {
        reader->Init_i();
    }
}

void SysConfReaderImpl::Init_i() {
    InitConsumer();
    missedEvent<SysConfReaderImpl> = false;
    status::recordLoad<SysConfReaderImpl>(&SysConfReaderStatus::roles, [this] {
        InitLocalNodeId();
        InitLocalIp();
        InitAssignedToTenancy();
        InitMasterAndStandyNodeId();
        InitMasterAndStandyIp();
    });
}

// Each step ends at the first error and keeps the values that it has not assigned.

void SysConfReaderImpl::InitLocalNodeId() {
    loadStep([this] {
        const std::string instanceId = config::environment(config::kInstanceIdVariable);
        status::loadFile<config::Document>(
            &status::Load::appConfig,
            [](config::Document& document, config::TextPlace* fault) {
                return config::readJsonFile(config::pathOf(config::kAppConfig), document, fault);
            },
            [&](const auto& root) { rules::loadLocalNodeId(root, instanceId, m_localNodeId); });
    });
}

void SysConfReaderImpl::InitLocalIp() {
    loadStep([this] {
        loadNodeList(*this, [this](const auto& root) {
            rules::loadLocalIp(root, m_localNodeId, m_localInternalServiceIP);
        });
    });
}

void SysConfReaderImpl::InitAssignedToTenancy() {
    loadStep([this] {
        loadNodeList(*this, [this](const auto& root) {
            rules::loadTenancy(root, m_localNodeId, m_productName);
        });
    });
}

void SysConfReaderImpl::InitMasterAndStandyNodeId() {
    loadStep([this] {
        loadManagerNodeList(*this, [this](const auto& root) {
            rules::loadRoleNodeIds(root, m_productName, m_masterNodeId, m_standbyNodeId);
        });
    });
}

void SysConfReaderImpl::InitMasterAndStandyIp() {
    loadStep([this] {
        loadManagerNodeList(*this, [this](const auto& root) {
            rules::loadRoleIps(root, m_masterNodeId, m_standbyNodeId, m_masterInternalServiceIP,
                               m_standbyInternalServiceIP);
        });
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
    return copyLocked<SysConfReaderImpl>(m_localInternalServiceIP);
}

std::string SysConfReaderImpl::GetMasterInternalServiceIP() const {
    return copyLocked<SysConfReaderImpl>(m_masterInternalServiceIP);
}

std::string SysConfReaderImpl::GetStandbyInternalServiceIP() const {
    return copyLocked<SysConfReaderImpl>(m_standbyInternalServiceIP);
}

std::string SysConfReaderImpl::GetProductName() const {
    return copyLocked<SysConfReaderImpl>(m_productName);
}

} // namespace Quarncommon
