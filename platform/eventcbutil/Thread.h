// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <pthread.h>

namespace eventcbutil {

/// A thread that can be joined with a time limit. It must be joined or detached before destruction.
class Thread {
public:
    Thread() = default;
    /// The thread blocks all signals except those for its own faults, for crash handlers.
    /// @param name At most 15 letters.
    /// @param work Must not throw.
    /// @throws std::system_error if there is no thread.
    Thread(const char* name, std::function<void()> work);

    /// Not detached later: the process could end before that.
    static void startDetached(const char* name, std::function<void()> work);

    bool joinable() const { return m_joinable; }
    bool isCurrent() const { return m_started && ::pthread_equal(m_thread, ::pthread_self()) != 0; }

    void detach();
    /// After that time, detaches the thread.
    void join(std::chrono::seconds longest);

private:
    pthread_t m_thread{};
    bool m_started = false;
    bool m_joinable = false;
};

} // namespace eventcbutil
