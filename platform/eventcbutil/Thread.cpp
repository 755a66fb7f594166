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

/// While one exists, threads that the calling thread starts begin with most signals blocked.
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

} // namespace

Thread::Thread(const char* name, Work work) {
    auto start = std::make_unique<Work>(std::move(work));
    const SignalsBlocked blocked;
    const int error = ::pthread_create(
        &m_thread, nullptr,
        [](void* argument) -> void* {
            const std::unique_ptr<Work> mine(static_cast<Work*>(argument));
            (*mine)();
            return nullptr;
        },
        start.get());
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_create");
    }
    [[maybe_unused]] const Work* const passedOn = start.release();
    m_started = true;
    m_joinable = true;
    ::pthread_setname_np(m_thread, name);
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
