// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ForkMutex.h"
#include "Subscription.h"
#include "Thread.h"
#include "WakeUp.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <sys/types.h>
#include <vector>

namespace eventcbutil {

/// The subscriptions of the process and the thread that serves them; at most one thread is late.
class Service {
public:
    static constexpr std::chrono::seconds kLongestEnd{1};

    /// Never destroyed, because its thread may run until the process ends.
    static Service& instance();

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
        std::weak_ptr<const Subscriptions> serving;
        bool calling = false;
        /// The thread uses nothing here any more.
        bool finished = false;
        int waiting = 0;
        std::condition_variable_any changed;
        /// In a forked child: keeps what cannot be destroyed there.
        std::shared_ptr<const Subscriptions> abandoned;
        std::shared_ptr<Run> abandonedBefore;
    };

    /// Holds the mutex. In a forked child it first does the work of the service's fork handler.
    struct Access : ForkMutex::Guard {
        explicit Access(Service& service) : Guard(service.m_mutex) { service.abandonIfForked(); }
    };

    Service();

    void waitForEnd(Access& access, const std::shared_ptr<Run>& run);
    void exit();
    void endFork();
    void abandonIfForked();
    void abandon(std::shared_ptr<Run> run);

    void startThread(const std::shared_ptr<Run>& run);
    void serve(Run& run);
    std::shared_ptr<const Subscriptions> next(Run& run);
    void finish(Run& run);
    void attend(Run& run, const std::shared_ptr<Subscription>& subscription);
    bool beginCall(Run& run, const std::shared_ptr<Subscription>& subscription);
    void endCall(Run& run) noexcept;

    /// Protects all below and the contents of every run. Held briefly, never during a callback.
    ForkMutex m_mutex;
    std::shared_ptr<Run> m_run;
    std::shared_ptr<Run> m_left;
    std::shared_ptr<Run> m_abandoned;
    pid_t m_process = 0;
    bool m_exiting = false;
};

} // namespace eventcbutil
