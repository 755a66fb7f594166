// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"

#include "SysConfReaderImpl.h"
#include "config/Lists.h"
#include "config/Shortages.h"
#include "locks/ClassLock.h"
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
    const WriteGuard<SysConfReader> guard;
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
    const WriteGuard<SysConfReader> guard;
    // Unpublished first: Instance() reads the pointer without the lock.
    delete m_pInstance.exchange(nullptr);
    unreportedShortage<SysConfReader> = false;
    config::forgetLists();
}

void SysConfReader::Reload() {
    {
        const WriteGuard<SysConfReader> guard;
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
    const WriteGuard<SysConfReader> guard;
    if (SysConfReader* reader = m_pInstance.load(std::memory_order_acquire)) {
        reader->reloadLocked();
    }
}

void SysConfReader::reloadLocked() {
    m_dbInfo.clear();
    init_i();
}

} // namespace Quarncommon
