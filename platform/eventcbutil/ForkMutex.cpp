// SPDX-License-Identifier: Apache-2.0
#include "ForkMutex.h"

namespace eventcbutil {

void ForkMutex::holdForFork() {
    if (heldByThisThread()) {
        ++m_nested;
        return;
    }
    m_mutex.lock();
    m_forking = std::this_thread::get_id();
}

void ForkMutex::releaseAfterFork() {
    if (m_nested > 0) {
        --m_nested;
        return;
    }
    m_forking = std::thread::id();
    m_mutex.unlock();
}

ForkMutex::Guard::Guard(ForkMutex& mutex) : m_mutex(mutex), m_shared(mutex.heldByThisThread()) {
    if (!m_shared) {
        m_mutex.m_mutex.lock();
    }
}

ForkMutex::Guard::~Guard() {
    if (!m_shared) {
        m_mutex.m_mutex.unlock();
    }
}

void ForkMutex::Guard::unlock() {
    if (m_shared) {
        m_mutex.m_forking = std::thread::id();
    }
    m_mutex.m_mutex.unlock();
}

void ForkMutex::Guard::lock() {
    m_mutex.m_mutex.lock();
    if (m_shared) {
        m_mutex.m_forking = std::this_thread::get_id();
    }
}

} // namespace eventcbutil
