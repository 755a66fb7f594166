#pragma once

#include "Descriptor.h"
#include "Subscription.h"

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace eventcbutil {

/// The subscriptions of the process, and the thread that serves them while there are any.
class Service {
public:
    /// The one service. It is never destroyed, because its thread may run until the very end of
    /// the process; its thread ends with the static objects that were built before the first
    /// subscription.
    static Service& instance();

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Adds a subscription, in the place of the one with the same callback if there is one.
    /// @return False when the process is exiting.
    /// @throws std::system_error when there is no thread or descriptor to be had.
    bool subscribe(std::shared_ptr<Subscription> subscription);

    /// Ends all subscriptions. Waits for the thread, unless that is in a callback.
    void unsubscribeAll();

private:
    using Subscriptions = std::vector<std::shared_ptr<Subscription>>;

    /// What belongs to one thread. When its subscriptions are ended the service forgets it, and the
    /// thread, if it is in a callback, is the last to hold it.
    struct Run {
        Run();

        Descriptor wakeUp;
        std::thread thread;
        /// Null when ended. Never changed but replaced, so that the thread can hold on to it.
        std::shared_ptr<const Subscriptions> subscriptions;
        bool calling = false;
        /// In a forked child: what is kept only because it cannot be destroyed there.
        std::shared_ptr<const Subscriptions> abandoned;
        std::shared_ptr<Run> abandonedBefore;
    };

    Service();

    void startThread(const std::shared_ptr<Run>& run);
    void serve(Run& run);
    void attend(Run& run, const std::shared_ptr<Subscription>& subscription);
    std::shared_ptr<const Subscriptions> subscriptionsOf(Run& run);
    bool beginCall(Run& run, const std::shared_ptr<Subscription>& subscription);
    void endCall(Run& run) noexcept;
    void exit();
    void abandonInChild();

    /// Protects everything below and the contents of every run but its wakeUp. Held for moments
    /// only: never during a callback, nor while waiting for the thread. Across a fork it is held
    /// by the forking thread.
    std::mutex m_mutex;
    std::shared_ptr<Run> m_run;
    /// Those of the parent processes, whose threads do not exist here. They can be neither joined
    /// nor destroyed.
    std::shared_ptr<Run> m_abandoned;
    bool m_exiting = false;
};

} // namespace eventcbutil
