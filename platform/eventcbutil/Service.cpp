#include "Service.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace eventcbutil {
namespace {

using Clock = std::chrono::steady_clock;

/// At most 15 letters, or the kernel refuses it.
constexpr const char* kThreadName = "sysconf-events";

/// While one exists, threads that the calling thread starts begin with all signals blocked.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before{};
};

void ring(const Descriptor& wakeUp) {
    // Fails only when it has been rung more often than it can count, which is loud enough.
    const std::uint64_t once = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeUp.get(), &once, sizeof once);
}

void answer(const Descriptor& wakeUp) {
    std::uint64_t times = 0;
    [[maybe_unused]] const ssize_t count = ::read(wakeUp.get(), &times, sizeof times);
}

int timeout(const std::vector<std::shared_ptr<Subscription>>& subscriptions) {
    const Clock::time_point now = Clock::now();
    int least = -1;
    for (const auto& subscription : subscriptions) {
        if (const auto due = subscription->due()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - now).count();
            const int wait = static_cast<int>(std::max<std::int64_t>(left, 0));
            least = least < 0 ? wait : std::min(least, wait);
        }
    }
    return least;
}

/// Returns when there is something to do, or may be: a signal that gets through ends it as well.
void waitForWork(const Descriptor& wakeUp,
                 const std::vector<std::shared_ptr<Subscription>>& subscriptions) {
    std::vector<pollfd> descriptors{{wakeUp.get(), POLLIN, 0}};
    for (const auto& subscription : subscriptions) {
        descriptors.push_back({subscription->descriptor(), POLLIN, 0});
    }
    const int ready = ::poll(descriptors.data(), descriptors.size(), timeout(subscriptions));
    if (ready < 0 && errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "poll");
    }
    answer(wakeUp);
}

} // namespace

Service::Run::Run()
    : wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"),
      subscriptions(std::make_shared<const Subscriptions>()) {}

Service& Service::instance() {
    static Service& service = *new Service;
    return service;
}

Service::Service() {
    const int error =
        ::pthread_atfork([] { instance().m_mutex.lock(); }, [] { instance().m_mutex.unlock(); },
                         [] { instance().abandonInChild(); });
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_atfork");
    }
}

bool Service::subscribe(std::shared_ptr<Subscription> subscription) {
    // The lock is first, so that no fork finds the static object half built.
    const std::lock_guard<std::mutex> guard(m_mutex);
    static const struct AtExit {
        ~AtExit() { instance().exit(); }
    } atExit;
    if (m_exiting) {
        return false; // GCOVR_EXCL_LINE: in a process that ends before it tells what it has run
    }
    const std::shared_ptr<Run> run = m_run ? m_run : std::make_shared<Run>();
    auto subscriptions = std::make_shared<Subscriptions>(*run->subscriptions);
    const auto same = std::find_if(
        subscriptions->begin(), subscriptions->end(),
        [&](const std::shared_ptr<Subscription>& one) { return one->sameCallback(*subscription); });
    if (same != subscriptions->end()) {
        *same = std::move(subscription);
    } else {
        subscriptions->push_back(std::move(subscription));
    }
    run->subscriptions = std::move(subscriptions);
    if (!m_run) {
        startThread(run);
        m_run = run;
    }
    ring(run->wakeUp);
    return true;
}

void Service::startThread(const std::shared_ptr<Run>& run) {
    const SignalsBlocked blocked;
    run->thread = std::thread([this, run] { serve(*run); });
    ::pthread_setname_np(run->thread.native_handle(), kThreadName);
}

void Service::unsubscribeAll() {
    std::unique_lock<std::mutex> guard(m_mutex);
    const std::shared_ptr<Run> run = std::move(m_run);
    if (!run) {
        return;
    }
    const auto ended = std::move(run->subscriptions);
    ring(run->wakeUp);
    if (run->calling) {
        // It may be waiting for a lock of the caller's, or be the caller.
        run->thread.detach();
        return;
    }
    guard.unlock();
    run->thread.join();
}

void Service::exit() {
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_exiting = true;
    }
    unsubscribeAll();
}

/// Runs in a forked child, on its only thread. The descriptors are closed, so that the child does
/// not keep the parent's watches alive.
void Service::abandonInChild() {
    if (m_run) {
        for (const auto& subscription : *m_run->subscriptions) {
            subscription->close();
        }
        m_run->wakeUp.close();
        // If the callback is what forked, its thread goes on here, and is to end.
        m_run->abandoned = std::move(m_run->subscriptions);
        m_run->abandonedBefore = std::move(m_abandoned);
        m_abandoned = std::move(m_run);
    }
    m_mutex.unlock();
}

void Service::serve(Run& run) {
    while (const std::shared_ptr<const Subscriptions> subscriptions = subscriptionsOf(run)) {
        try {
            waitForWork(run.wakeUp, *subscriptions);
            for (const auto& subscription : *subscriptions) {
                attend(run, subscription);
            }
        } catch (const std::exception&) {
            // Memory or descriptors have run out. What was due stays due; until then, not too
            // often.
            pollfd wakeUp{run.wakeUp.get(), POLLIN, 0};
            ::poll(&wakeUp, 1, 100);
        }
    }
}

void Service::attend(Run& run, const std::shared_ptr<Subscription>& subscription) {
    subscription->gather(Clock::now());
    if (subscription->ready(Clock::now()) && beginCall(run, subscription)) {
        const struct Call {
            Service& service;
            Run& run;
            ~Call() { service.endCall(run); }
        } call{*this, run};
        subscription->call();
        subscription->settle(Clock::now());
    }
}

std::shared_ptr<const Service::Subscriptions> Service::subscriptionsOf(Run& run) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return run.subscriptions;
}

/// False when the subscription has been ended or replaced since.
bool Service::beginCall(Run& run, const std::shared_ptr<Subscription>& subscription) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    run.calling = run.subscriptions &&
                  std::find(run.subscriptions->begin(), run.subscriptions->end(), subscription) !=
                      run.subscriptions->end();
    return run.calling;
}

void Service::endCall(Run& run) noexcept {
    const std::lock_guard<std::mutex> guard(m_mutex);
    run.calling = false;
}

} // namespace eventcbutil
