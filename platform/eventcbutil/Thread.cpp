// SPDX-License-Identifier: Apache-2.0
#include "Thread.h"

#include <array>
#include <csignal>
#include <ctime>
#include <memory>
#include <system_error>
#include <utility>

namespace eventcbutil {
namespace {

/// While one exists, threads that the calling thread creates have most signals blocked.
class SignalsBlocked {
public:
    SignalsBlocked() {
        constexpr std::array kFaults = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGSYS, SIGTRAP, SIGABRT};
        sigset_t blocked;
        ::sigfillset(&blocked);
        for (const int signal : kFaults) {
            ::sigdelset(&blocked, signal);
        }
        ::pthread_sigmask(SIG_SETMASK, &blocked, &m_before);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before{};
};

using Work = std::function<void()>;

class Attributes {
public:
    explicit Attributes(int detachState) {
        ::pthread_attr_init(&m_attributes);
        ::pthread_attr_setdetachstate(&m_attributes, detachState);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { ::pthread_attr_destroy(&m_attributes); }
    const pthread_attr_t* get() const { return &m_attributes; }

private:
    pthread_attr_t m_attributes{};
};

pthread_t start(Work work, int detachState) {
    auto argument = std::make_unique<Work>(std::move(work));
    const Attributes attributes(detachState);
    const SignalsBlocked blocked;
    pthread_t thread{};
    const int error = ::pthread_create(
        &thread, attributes.get(),
        [](void* passed) -> void* {
            const std::unique_ptr<Work> mine(static_cast<Work*>(passed));
            (*mine)();
            return nullptr;
        },
        argument.get());
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_create");
    }
    [[maybe_unused]] const Work* const passedOn = argument.release();
    return thread;
}

} // namespace

Thread::Thread(const char* name, Work work)
    : m_thread(start(std::move(work), PTHREAD_CREATE_JOINABLE)), m_started(true), m_joinable(true) {
    ::pthread_setname_np(m_thread, name);
}

void Thread::startDetached(const char* name, Work work) {
    // The thread sets its own name, because it may end at any time.
    const auto named = [name, work = std::move(work)] {
        ::pthread_setname_np(::pthread_self(), name);
        work();
    };
    start(named, PTHREAD_CREATE_DETACHED);
}

void Thread::detach() {
    ::pthread_detach(m_thread);
    m_joinable = false;
}

void Thread::join(std::chrono::seconds longest) {
    timespec until{};
    ::clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += longest.count();
    if (::pthread_timedjoin_np(m_thread, nullptr, &until) != 0) {
        ::pthread_detach(m_thread);
    }
    m_joinable = false;
}

} // namespace eventcbutil
