// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader_i.h"

#include "SysConfReaderImpl.h"
#include "locks/ClassLock.h"
#include "status/LoadNotices.h"
#include "sysconfreader/UsageTags.h"

namespace Quarncommon {

namespace {

// Built when the library is loaded, like those of the other two singletons, and not read.
const std::string kFacadesInternalServiceUsage(kInternalServiceTag);

} // namespace

ACE_RW_Thread_Mutex SysConfReader_i::m_pMutex;

std::atomic<SysConfReader_i*> SysConfReader_i::m_pInstance{nullptr};

SysConfReader_i* SysConfReader_i::Instance() {
    if (SysConfReader_i* facade = m_pInstance.load(std::memory_order_acquire)) {
        return facade;
    }
    const WriteGuard<SysConfReader_i> guard;
    SysConfReader_i* facade = m_pInstance.load(std::memory_order_acquire);
    if (facade == nullptr) {
        facade = new SysConfReader_i;
        m_pInstance.store(facade, std::memory_order_release);
    }
    return facade;
}

void SysConfReader_i::createRoleReader() noexcept {
    SysConfReaderImpl::Instance();
    // Not after the destruction: a reload of the main reader creates a role reader.
    SysConfReaderImpl::applyMissedEvents();
}

void SysConfReader_i::Destory() {
    const bool insideALoad = WriterHandoff::lockHeldHere();
    {
        const WriteGuard<SysConfReader_i> guard;
        // Unpublished first: Instance() reads the pointer without the lock.
        const SysConfReader_i* facade = m_pInstance.exchange(nullptr);
        if (facade != nullptr && !insideALoad) {
            createRoleReader();
        }
        delete facade;
    }
    status::announceLoads();
}

SysConfReader_i::~SysConfReader_i() {
    SysConfReaderImpl::Instance();
    SysConfReaderImpl::Destory();
}

std::string SysConfReader_i::GetLocalInternalServiceIP() const {
    return SysConfReaderImpl::currentAnswer(&SysConfReaderImpl::m_localInternalServiceIP);
}

std::string SysConfReader_i::GetMasterInternalServiceIP() const {
    return SysConfReaderImpl::currentAnswer(&SysConfReaderImpl::m_masterInternalServiceIP);
}

std::string SysConfReader_i::GetStandbyInternalServiceIP() const {
    return SysConfReaderImpl::currentAnswer(&SysConfReaderImpl::m_standbyInternalServiceIP);
}

std::string SysConfReader_i::GetProductName() const {
    return SysConfReaderImpl::currentAnswer(&SysConfReaderImpl::m_productName);
}

} // namespace Quarncommon
