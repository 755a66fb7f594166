// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CheckedMutex.h"
#include "Subscription.h"
#include "Thread.h"
#include "WakeUp.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <sys/types.h>
#include <vector>

namespace eventcbutil {

/// The subscriptions of the process and the thread that serves them; at most one thread is late.
class Service {
public:
    static constexpr std::chrono::seconds kLongestEnd{1};

    /// The service of this process, created if there is none. Never destroyed, because its thread
    /// may run until the process ends.
    /// @throws std::system_error if the handlers for forks and the exit cannot be registered.
    static Service& instance();

    /// Null if there is none. A forked child does not have its parent's.
    static Service* existing();

    Service() = default;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// @return False if the process is exiting.
    /// @throws std::system_error if there is no thread or descriptor.
    bool subscribe(std::shared_ptr<Subscription> subscription);

    void redeliver(const EventConsumerCallback& callback);

    /// No delivery begins afterwards. Waits at most kLongestEnd for one that has begun and for the
    /// thread, but not on the service's own thread.
    void unsubscribeAll();

private:
    using Subscriptions = std::vector<std::shared_ptr<Subscription>>;

    struct Run {
        WakeUp wakeUp;
        Thread thread;
        /// Null if all have ended. Replaced, never changed, so that the thread can work on it.
        std::shared_ptr<const Subscriptions> subscriptions;
        bool calling = false;
        /// The thread uses nothing here any more.
        bool finished = false;
        int waiting = 0;
        std::condition_variable_any changed;
    };

    using Access = std::unique_lock<CheckedMutex>;

    void waitForEnd(Access& access, const std::shared_ptr<Run>& run);
    static void registerHandlers();
    static void exit();
    static void leaveParents();

    void startThread(const std::shared_ptr<Run>& run);
    void serve(Run& run);
    bool serveOnce(Run& run);
    std::shared_ptr<const Subscriptions> next(Run& run);
    void finish(Run& run);
    bool attend(Run& run, const std::shared_ptr<Subscription>& subscription);
    bool beginCall(Run& run, const std::shared_ptr<Subscription>& subscription);
    void endCall(Run& run) noexcept;

    /// Protects all below and the contents of every run. Held briefly, never during a callback.
    CheckedMutex m_mutex;
    std::shared_ptr<Run> m_run;
    std::shared_ptr<Run> m_left;
    /// The parent's service.
    Service* m_parents = nullptr;

    static constinit std::atomic<bool> s_exiting;
    static constinit std::atomic<Service*> s_service;
    static constinit std::atomic<Service*> s_parents;
    static constinit std::atomic<pid_t> s_process;
};

} // namespace eventcbutil
