// SPDX-License-Identifier: Apache-2.0
#include "Service.h"

#include <algorithm>
#include <pthread.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace eventcbutil {

Service& Service::instance() {
    static Service& service = *new Service;
    return service;
}

Service::Service() {
    const int error = ::pthread_atfork([] { instance().m_mutex.holdForFork(); },
                                       [] { instance().endFork(); }, [] { instance().endFork(); });
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_atfork");
    }
}

bool Service::subscribe(std::shared_ptr<Subscription> subscription) {
    // Destroyed after the mutex is released: closing descriptors takes time.
    std::shared_ptr<const Subscriptions> before;
    const Access access(*this);
    // With the mutex, so that no child of fork() gets a static object under construction.
    static const struct AtExit {
        ~AtExit() { instance().exit(); }
    } atExit;
    if (m_exiting) {
        return false;
    }
    const std::shared_ptr<Run> run = m_run ? m_run : std::make_shared<Run>();
    auto subscriptions = run->subscriptions ? std::make_shared<Subscriptions>(*run->subscriptions)
                                            : std::make_shared<Subscriptions>();
    const auto same = std::find_if(subscriptions->begin(), subscriptions->end(),
                                   [&](const std::shared_ptr<Subscription>& one) {
                                       return one->sameCallback(subscription->callback());
                                   });
    if (same != subscriptions->end()) {
        *same = std::move(subscription);
    } else {
        subscriptions->push_back(std::move(subscription));
    }
    if (!m_run) {
        startThread(run);
        m_run = run;
    }
    before = std::exchange(run->subscriptions, std::move(subscriptions));
    run->wakeUp.ring();
    return true;
}

void Service::redeliver(const EventConsumerCallback& callback) {
    const Access access(*this);
    if (!m_run || !m_run->subscriptions) {
        return;
    }
    for (const auto& subscription : *m_run->subscriptions) {
        if (subscription->sameCallback(callback)) {
            subscription->redeliver();
            m_run->wakeUp.ring();
        }
    }
}

void Service::unsubscribeAll() {
    std::shared_ptr<const Subscriptions> ended;
    Access access(*this);
    const std::shared_ptr<Run> run = m_run;
    if (!run) {
        return;
    }
    ended = std::move(run->subscriptions);
    run->wakeUp.ring();
    if (run->thread.isCurrent()) {
        return;
    }
    access.unlock();
    ended.reset();
    access.lock();
    waitForEnd(access, run);
}

void Service::waitForEnd(Access& access, const std::shared_ptr<Run>& run) {
    ++run->waiting;
    // With new subscriptions the thread does not end, but it no longer uses the old ones.
    run->changed.wait_until(access, std::chrono::steady_clock::now() + kLongestEnd,
                            [&] { return run->finished || (run->subscriptions && !run->calling); });
    --run->waiting;
    if (run->finished) {
        if (run->waiting == 0 && run->thread.joinable()) {
            Thread thread = std::exchange(run->thread, Thread());
            access.unlock();
            thread.join(kLongestEnd);
            access.lock();
        }
    } else if (m_run == run && !run->subscriptions && !m_left) {
        run->thread.detach();
        m_left = std::move(m_run);
    }
}

void Service::exit() {
    {
        const Access access(*this);
        m_exiting = true;
    }
    unsubscribeAll();
}

void Service::endFork() {
    abandonIfForked();
    m_mutex.releaseAfterFork();
}

/// Requires the mutex. A forked child has only this thread.
void Service::abandonIfForked() {
    const pid_t process = ::getpid();
    if (std::exchange(m_process, process) == process) {
        return;
    }
    abandon(std::move(m_run));
    abandon(std::move(m_left));
}

/// Closes the descriptors, so that the child does not keep its parent's watches; leaks the rest.
void Service::abandon(std::shared_ptr<Run> run) {
    if (!run) {
        return;
    }
    for (const auto& subscriptions : {run->subscriptions, run->serving.lock()}) {
        if (subscriptions) {
            for (const auto& subscription : *subscriptions) {
                subscription->close();
            }
        }
    }
    run->wakeUp.close();
    // If a callback forked, the service's thread continues here; its subscriptions have ended.
    run->abandoned = std::move(run->subscriptions);
    run->abandonedBefore = std::move(m_abandoned);
    m_abandoned = std::move(run);
}

} // namespace eventcbutil
