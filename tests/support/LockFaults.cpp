#include "support/LockFaults.h"

#include <atomic>
#include <dlfcn.h>
#include <pthread.h>

// With a thread sanitizer its interceptors must still see the calls that go through; without one
// these symbols do not exist and the C library's own functions are called.
extern "C" {
[[gnu::weak]] int __interceptor_pthread_rwlock_rdlock(pthread_rwlock_t*);
[[gnu::weak]] int __interceptor_pthread_rwlock_wrlock(pthread_rwlock_t*);
[[gnu::weak]] int __interceptor_pthread_rwlock_unlock(pthread_rwlock_t*);
}

namespace {

using LockFunction = int(pthread_rwlock_t*);

struct Injection {
    const char* name;
    LockFunction* sanitizers;
    std::atomic<int> error{0};
    std::atomic<std::size_t> succeeded{0};

    int call(pthread_rwlock_t* lock) {
        if (const int injected = error.load(); injected != 0) {
            return injected;
        }
        auto* real = sanitizers != nullptr
                         ? sanitizers
                         : reinterpret_cast<LockFunction*>(::dlsym(RTLD_NEXT, name));
        const int result = real(lock);
        if (result == 0) {
            ++succeeded;
        }
        return result;
    }
};

Injection& injection(support::LockCall call) {
    static Injection read{"pthread_rwlock_rdlock", &__interceptor_pthread_rwlock_rdlock};
    static Injection write{"pthread_rwlock_wrlock", &__interceptor_pthread_rwlock_wrlock};
    static Injection unlock{"pthread_rwlock_unlock", &__interceptor_pthread_rwlock_unlock};
    switch (call) {
    case support::LockCall::Read:
        return read;
    case support::LockCall::Write:
        return write;
    default:
        return unlock;
    }
}

} // namespace

extern "C" {
int pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
    return injection(support::LockCall::Read).call(lock);
}
int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    return injection(support::LockCall::Write).call(lock);
}
int pthread_rwlock_unlock(pthread_rwlock_t* lock) {
    return injection(support::LockCall::Unlock).call(lock);
}
}

namespace support {

void failLockCalls(LockCall call, int error) {
    injection(call).error = error;
}

LockCounts lockCounts() {
    return {injection(LockCall::Read).succeeded, injection(LockCall::Write).succeeded,
            injection(LockCall::Unlock).succeeded};
}

void resetLockCounts() {
    for (const LockCall call : {LockCall::Read, LockCall::Write, LockCall::Unlock}) {
        injection(call).succeeded = 0;
    }
}

} // namespace support
