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

/// The subscriptions of the process, and the thread that serves them while there are any.
///
/// At most two threads exist: the one that serves, and one that missed kLongestEnd.
class Service {
public:
    /// The longest wait for a thread when the subscriptions end.
    static constexpr std::chrono::seconds kLongestEnd{1};

    /// Never destroyed, because its thread may run until the process ends. Static destruction ends
    /// the subscriptions.
    static Service& instance();

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Adds a subscription. It replaces one with the same callback.
    /// @return False if the process is exiting.
    /// @throws std::system_error if there is no thread or descriptor.
    bool subscribe(std::shared_ptr<Subscription> subscription);

    /// Requests a delivery for the subscription with that callback, if there is one.
    void redeliver(const EventConsumerCallback& callback);

    /// Ends all subscriptions: no delivery begins afterwards. Waits for one that has begun and for
    /// the thread, at most kLongestEnd; does not wait on the service's own thread.
    void unsubscribeAll();

private:
    using Subscriptions = std::vector<std::shared_ptr<Subscription>>;

    /// The state of one thread.
    struct Run {
        WakeUp wakeUp;
        Thread thread;
        /// Null if all have ended. Replaced, never changed, so that the thread can work on it.
        std::shared_ptr<const Subscriptions> subscriptions;
        /// The subscriptions that the thread works on.
        std::weak_ptr<const Subscriptions> serving;
        bool calling = false;
        /// The thread uses nothing here any more.
        bool finished = false;
        /// The number of threads that wait for the end.
        int waiting = 0;
        std::condition_variable_any changed;
        /// In a forked child: keeps what cannot be destroyed there.
        std::shared_ptr<const Subscriptions> abandoned;
        std::shared_ptr<Run> abandonedBefore;
    };

    /// Holds the mutex. In a forked child it first does the work of the service's fork handler,
    /// which may run after handlers of the program.
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

    /// Protects everything below and the contents of every run. Held briefly: never during a
    /// callback or while waiting for a thread.
    ForkMutex m_mutex;
    std::shared_ptr<Run> m_run;
    /// The run of a thread that missed kLongestEnd.
    std::shared_ptr<Run> m_left;
    /// The runs of the parent processes.
    std::shared_ptr<Run> m_abandoned;
    /// The process that the runs belong to.
    pid_t m_process = 0;
    bool m_exiting = false;
};

} // namespace eventcbutil
