// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace eventcbutil {

/// A mutex that a thread holds while it forks, so that the data in the child is consistent.
/// Handlers of the program (pthread_atfork) may call the library: their guards share the hold and
/// do not wait.
class ForkMutex {
public:
    /// Forks may be nested, because a handler may fork.
    void holdForFork();
    void releaseAfterFork();

    /// Usable with std::condition_variable_any.
    class Guard {
    public:
        explicit Guard(ForkMutex& mutex);
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;
        ~Guard();

        /// Also suspend and resume a shared hold: a handler may wait for other threads.
        void unlock();
        void lock();

    private:
        ForkMutex& m_mutex;
        const bool m_shared;
    };

private:
    bool heldByThisThread() const { return m_forking == std::this_thread::get_id(); }

    std::mutex m_mutex;
    std::atomic<std::thread::id> m_forking{};
    /// The number of its forks that began within another one.
    int m_nested = 0;
};

} // namespace eventcbutil
