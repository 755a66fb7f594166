// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <pthread.h>

namespace eventcbutil {

/// A mutex that a thread cannot wait for while it holds it: a std::new_handler may call the service
/// when memory runs out inside the service.
class CheckedMutex {
public:
    struct HeldHere : std::exception {};

    /// @throws HeldHere if this thread holds it.
    void lock() {
        if (::pthread_mutex_lock(&m_mutex) != 0) {
            throw HeldHere();
        }
    }
    /// For a thread that does not hold it.
    void lockUnheld() noexcept { ::pthread_mutex_lock(&m_mutex); }
    void unlock() { ::pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;
};

} // namespace eventcbutil
