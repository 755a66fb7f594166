// SPDX-License-Identifier: Apache-2.0
// The library in a forked child, which has one thread: locks that other threads held are never
// released there. An event may start a load at any time, so this affects every child, even one that
// only calls exit().

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
        if (WriterHandoff::lockHeldHere()) { // GCOVR_EXCL_BR_LINE: as the next line
            return; // GCOVR_EXCL_LINE: in a child that must not exit, and so reports no coverage
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
    /// An instance that another thread was modifying at the time of the fork is leaked on purpose:
    /// it may be half-written.
    template <typename Class>
    static void reset() {
        if (ClassLock<Class>::handoff().writing()) {
            Class::m_pInstance = nullptr;
        }
        ClassLock<Class>::resetAfterFork();
    }
};

namespace {

/// The process that forked last, to distinguish it from its child.
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

/// jsoncpp builds this object when it is first needed. Another thread must not be in the middle of
/// that during a fork, so it is built now.
[[maybe_unused]] const Json::Value& g_null = Json::Value::nullSingleton();

} // namespace

void startInChild() {
    if (::getpid() != g_parent) {
        ForkedChild::start();
    }
}

} // namespace Quarncommon
