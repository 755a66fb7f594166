// SPDX-License-Identifier: Apache-2.0
#include "support/LockFaults.h"

#include "support/RealFunction.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <pthread.h>
#include <utility>

extern "C" {
[[gnu::weak]] int __interceptor_pthread_rwlock_rdlock(pthread_rwlock_t*);
[[gnu::weak]] int __interceptor_pthread_rwlock_wrlock(pthread_rwlock_t*);
[[gnu::weak]] int __interceptor_pthread_rwlock_unlock(pthread_rwlock_t*);
}

namespace {

using LockFunction = int(pthread_rwlock_t*);

struct Injection {
    LockFunction* interceptor;
    const char* name;
    std::atomic<int> error{0};
    std::atomic<std::size_t> succeeded{0};

    int call(pthread_rwlock_t* lock) {
        if (const int injected = error.load(); injected != 0) {
            return injected;
        }
        const int result = support::realFunction<LockFunction>(interceptor, name)(lock);
        if (result == 0) {
            ++succeeded;
        }
        return result;
    }
};

constinit Injection g_read{&__interceptor_pthread_rwlock_rdlock, "pthread_rwlock_rdlock"};
constinit Injection g_write{&__interceptor_pthread_rwlock_wrlock, "pthread_rwlock_wrlock"};
constinit Injection g_unlock{&__interceptor_pthread_rwlock_unlock, "pthread_rwlock_unlock"};
std::atomic<int> g_misreport{0};
std::atomic<int (*)(support::LockCall)> g_faultHook{nullptr};
std::function<void(support::LockCall, bool)> g_lockHook;

Injection& injection(support::LockCall call) {
    switch (call) {
    case support::LockCall::Read:
        return g_read;
    case support::LockCall::Write:
        return g_write;
    default:
        return g_unlock;
    }
}

int hookedError(support::LockCall kind) {
    const auto hook = g_faultHook.load();
    return hook != nullptr ? hook(kind) : 0;
}

struct Holding {
    pthread_rwlock_t* lock;
    support::LockCall kind;
};
thread_local std::array<Holding, 16> t_held;
thread_local std::size_t t_heldCount = 0;
thread_local std::size_t t_strayUnlocks = 0;
thread_local std::size_t t_mostHeld = 0;

int acquire(support::LockCall kind, pthread_rwlock_t* lock) {
    if (g_lockHook) {
        g_lockHook(kind, false);
    }
    if (const int error = hookedError(kind); error != 0) {
        return error;
    }
    const int result = injection(kind).call(lock);
    if (result == 0 && t_heldCount < t_held.size()) {
        t_held[t_heldCount++] = {lock, kind};
        t_mostHeld = std::max(t_mostHeld, t_heldCount);
    }
    if (result == 0 && g_lockHook) {
        g_lockHook(kind, true);
    }
    return result;
}

void noteReleased(const pthread_rwlock_t* lock) {
    for (std::size_t i = t_heldCount; i-- > 0;) {
        if (t_held[i].lock == lock) {
            std::copy(t_held.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                      t_held.begin() + static_cast<std::ptrdiff_t>(t_heldCount),
                      t_held.begin() + static_cast<std::ptrdiff_t>(i));
            --t_heldCount;
            return;
        }
    }
    ++t_strayUnlocks;
}

} // namespace

extern "C" {
int pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
    return acquire(support::LockCall::Read, lock);
}
int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    return acquire(support::LockCall::Write, lock);
}
int pthread_rwlock_unlock(pthread_rwlock_t* lock) {
    const int result = g_unlock.call(lock);
    if (result != 0) {
        return result;
    }
    noteReleased(lock);
    const int error = hookedError(support::LockCall::Unlock);
    return error != 0 ? error : g_misreport.load();
}
}

namespace support {

void failLockCalls(LockCall call, int error) {
    injection(call).error = error;
}

void misreportUnlocks(int error) {
    g_misreport = error;
}

void setLockFaultHook(int (*error)(LockCall)) {
    g_faultHook = error;
}

void setLockHook(std::function<void(LockCall, bool)> hook) {
    g_lockHook = std::move(hook);
}

LockCounts lockCounts() {
    return {g_read.succeeded, g_write.succeeded, g_unlock.succeeded};
}

void resetLockCounts() {
    for (const LockCall call : {LockCall::Read, LockCall::Write, LockCall::Unlock}) {
        injection(call).succeeded = 0;
    }
    t_mostHeld = t_heldCount;
}

std::size_t mostLocksHeldHere() {
    return t_mostHeld;
}

LockCounts locksHeldHere() {
    LockCounts held{0, 0, t_strayUnlocks};
    for (std::size_t i = 0; i < t_heldCount; ++i) {
        ++(t_held[i].kind == LockCall::Read ? held.read : held.write);
    }
    return held;
}

void releaseLocksHeldHere() {
    while (t_heldCount > 0) {
        g_unlock.call(t_held[--t_heldCount].lock);
    }
}

} // namespace support
