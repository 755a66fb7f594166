// SPDX-License-Identifier: Apache-2.0
#include "Service.h"

#include "Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <pthread.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace eventcbutil {

constinit std::atomic<bool> Service::s_exiting{false};
constinit std::atomic<Service*> Service::s_service{nullptr};
constinit std::atomic<Service*> Service::s_parents{nullptr};
constinit std::atomic<pid_t> Service::s_process{0};

/// Without a local static object, for whose construction a forked child might wait.
Service& Service::instance() {
    if (Service* const service = existing()) {
        return *service;
    }
    registerHandlers();
    auto made = std::make_unique<Service>();
    Service* others = nullptr;
    return s_service.compare_exchange_strong(others, made.get()) ? *made.release() : *others;
}

/// Handlers of the program may run before the one that is registered here.
Service* Service::existing() {
    leaveParents();
    return s_service;
}

void Service::registerHandlers() {
    static constinit std::atomic<bool> registered{false};
    if (registered) {
        return;
    }
    // Two threads may both register them, which is harmless.
    if (const int error = ::pthread_atfork(nullptr, nullptr, [] { leaveParents(); })) {
        throw std::system_error(error, std::generic_category(), "pthread_atfork");
    }
    if (std::atexit([] { exit(); }) != 0) {
        throw std::system_error(ENOMEM, std::generic_category(), "atexit");
    }
    registered = true;
}

/// In a forked child, leaks the service of the parent: threads that the child does not have may
/// hold its mutex and may have been changing it. Closes its descriptors, so that the child does not
/// keep its watches. No mutex is held during a fork, because handlers of the program may wait for
/// threads that use the service.
void Service::leaveParents() {
    const pid_t process = ::getpid();
    if (s_process == process) {
        return;
    }
    const bool forked = s_process.exchange(process) != 0;
    Service* const parents = forked ? s_service.exchange(nullptr) : nullptr;
    if (forked) {
        Descriptor::closeInherited();
    }
    if (parents != nullptr) {
        parents->m_parents = s_parents.exchange(parents);
    }
}

bool Service::subscribe(std::shared_ptr<Subscription> subscription) {
    // Destroyed after the mutex is released: closing descriptors takes time.
    std::shared_ptr<const Subscriptions> before;
    const Access access(m_mutex);
    if (s_exiting) {
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
    const Access access(m_mutex);
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
    Access access(m_mutex);
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
    s_exiting = true;
    try {
        if (Service* const service = existing()) {
            service->unsubscribeAll();
        }
    } catch (const CheckedMutex::HeldHere&) {
        // A std::new_handler exits inside the service. No delivery begins any more.
        return;
    }
}

} // namespace eventcbutil
