// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <pthread.h>

namespace eventcbutil {

/// A thread that can be joined for a bounded time, unlike std::thread. Destruction leaves it
/// running; it must have been joined or detached.
class Thread {
public:
    Thread() = default;
    /// Starts a thread that blocks all signals but those that report its own faults: a crash
    /// handler of the program must run.
    /// @param name At most 15 letters.
    /// @param work Must not throw.
    /// @throws std::system_error if there is no thread.
    Thread(const char* name, std::function<void()> work);

    /// Starts such a thread detached. Detaching it later would leave a moment at which a process
    /// that ends has a thread that nobody joins.
    static void startDetached(const char* name, std::function<void()> work);

    bool joinable() const { return m_joinable; }
    bool isCurrent() const { return m_started && ::pthread_equal(m_thread, ::pthread_self()) != 0; }

    void detach();
    /// Waits for the end, at most that long; detaches the thread then.
    void join(std::chrono::seconds longest);

private:
    pthread_t m_thread{};
    bool m_started = false;
    bool m_joinable = false;
};

} // namespace eventcbutil
