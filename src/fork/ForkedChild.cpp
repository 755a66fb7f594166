// SPDX-License-Identifier: Apache-2.0
// The library in a forked child (docs/decisions/0007-forked-children.md).

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "base/ForkCheck.h"
#include "config/Lists.h"
#include "locks/ClassLock.h"
#include "status/LoadNotices.h"
#include "status/StatusBoard.h"
#include "sysconfreaderimpl/ChangeEvents.h"

#include <json/value.h>

#include <mutex>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace Quarncommon {

class ForkedChild {
public:
    static void start() {
        // An event library that forks inside a subscription continues it in the child, with locks
        // that it still has to release.
        if (WriterHandoff::lockHeldHere()) {
            return;
        }
        g_forks = 0;
        resetEventsAfterFork();
        config::resetListsAfterFork();
        status::resetBoardAfterFork();
        status::resetNoticesAfterFork();
        reset<SysConfReader_i>();
        reset<SysConfReader>();
        reset<SysConfReaderImpl>();
        if (SysConfReader* reader = SysConfReader::m_pInstance.load()) {
            new (&reader->m_identityMutex) std::mutex;
        }
    }

private:
    template <typename Class>
    static void reset() {
        if (ClassLock<Class>::handoff().writing()) {
            Class::m_pInstance = nullptr;
        }
        ClassLock<Class>::resetAfterFork();
    }
};

namespace {

constinit std::atomic<pid_t> g_parent{0};

void beforeFork() {
    noticeFork();
    g_parent = ::getpid();
    ++g_forks;
}

void afterForkInParent() {
    --g_forks;
}

void afterForkInChild() {
    if (g_forks != 0) {
        ForkedChild::start();
    }
}

/// Runs when the library is loaded. If it fails for lack of memory, children are not started again.
[[maybe_unused]] const int g_registered =
    ::pthread_atfork(&beforeFork, &afterForkInParent, &afterForkInChild);

/// jsoncpp builds this object on first use, which must not happen during a fork.
[[maybe_unused]] const Json::Value& g_null = Json::Value::nullSingleton();

} // namespace

void startInChild() {
    if (::getpid() != g_parent) {
        ForkedChild::start();
    }
}

} // namespace Quarncommon
