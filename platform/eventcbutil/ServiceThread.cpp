// SPDX-License-Identifier: Apache-2.0
#include "Service.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <thread>
#include <utility>

namespace eventcbutil {
namespace {

using Clock = std::chrono::steady_clock;
using Subscriptions = std::vector<std::shared_ptr<Subscription>>;

/// The pause after running out of memory or descriptors.
constexpr std::chrono::milliseconds kPause{100};

int timeout(const Subscriptions& subscriptions, bool canBeWoken) {
    const Clock::time_point now = Clock::now();
    int least = canBeWoken ? -1 : static_cast<int>(kPause.count());
    for (const auto& subscription : subscriptions) {
        if (const auto due = subscription->due()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - now).count();
            const int wait = static_cast<int>(std::max<std::int64_t>(left, 0));
            least = least < 0 ? wait : std::min(least, wait);
        }
    }
    return least;
}

void waitForWork(int wakeUp, const Subscriptions& subscriptions) {
    std::vector<pollfd> waits{{wakeUp, POLLIN, 0}};
    for (const auto& subscription : subscriptions) {
        const auto more = subscription->waits();
        waits.insert(waits.end(), more.begin(), more.end());
    }
    if (::poll(waits.data(), waits.size(), timeout(subscriptions, wakeUp >= 0)) < 0) {
        if (errno != EINTR) {
            std::this_thread::sleep_for(kPause);
        }
        return;
    }
    const pollfd* results = waits.data() + 1;
    for (const auto& subscription : subscriptions) {
        subscription->woken(results);
        results += subscription->waits().size();
    }
}

} // namespace

void Service::startThread(const std::shared_ptr<Run>& run) {
    run->thread = Thread("sysconf-events", [this, run] { serve(*run); });
}

void Service::serve(Run& run) {
    for (bool ended = false; !ended;) {
        try {
            ended = !serveOnce(run);
        } catch (const std::exception&) {
            // Out of memory. Due deliveries remain due.
            std::this_thread::sleep_for(kPause);
        }
    }
}

/// Returns false if the thread must end.
bool Service::serveOnce(Run& run) {
    const std::shared_ptr<const Subscriptions> subscriptions = next(run);
    if (!subscriptions) {
        return false;
    }
    for (const auto& subscription : *subscriptions) {
        if (!attend(run, subscription)) {
            return false;
        }
    }
    waitForWork(run.wakeUp.descriptor(), *subscriptions);
    return true;
}

/// The subscriptions to serve; null if the thread must end.
std::shared_ptr<const Service::Subscriptions> Service::next(Run& run) {
    const Access access(m_mutex);
    run.wakeUp.clear();
    if (!run.subscriptions) {
        finish(run);
    }
    return run.subscriptions;
}

void Service::finish(Run& run) {
    run.wakeUp.close();
    run.finished = true;
    if (m_run.get() == &run) {
        if (run.waiting == 0) {
            run.thread.detach();
        }
        m_run.reset();
    } else if (m_left.get() == &run) {
        m_left.reset();
    }
    run.changed.notify_all();
}

/// Returns false in a child that the callback forked: the service is not the child's.
bool Service::attend(Run& run, const std::shared_ptr<Subscription>& subscription) {
    subscription->gather(Clock::now());
    if (subscription->ready(Clock::now()) && beginCall(run, subscription)) {
        const struct Call {
            Service& service;
            Run& run;
            ~Call() { service.endCall(run); }
        } call{*this, run};
        subscription->call();
        if (existing() != this) {
            return false;
        }
        subscription->settle(Clock::now());
    }
    return true;
}

/// Returns false if the subscription has been ended or replaced, or the process is exiting.
bool Service::beginCall(Run& run, const std::shared_ptr<Subscription>& subscription) {
    const Access access(m_mutex);
    run.calling = !s_exiting && run.subscriptions &&
                  std::find(run.subscriptions->begin(), run.subscriptions->end(), subscription) !=
                      run.subscriptions->end();
    return run.calling;
}

void Service::endCall(Run& run) noexcept {
    if (existing() != this) {
        return;
    }
    m_mutex.lockUnheld();
    const Access access(m_mutex, std::adopt_lock);
    run.calling = false;
    run.changed.notify_all();
}

} // namespace eventcbutil
