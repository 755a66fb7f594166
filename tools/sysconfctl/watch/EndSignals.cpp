// SPDX-License-Identifier: Apache-2.0
#include "watch/EndSignals.h"

#include <cerrno>
#include <csignal>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace sysconfctl {
namespace {

sigset_t blockedEndSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaddset(&signals, signal);
    }
    removeIgnored(signals);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

} // namespace

void removeIgnored(sigset_t& signals) {
    for (int number = 1; number <= SIGRTMAX; ++number) {
        struct sigaction inherited {};
        if (number != SIGCHLD && ::sigaction(number, nullptr, &inherited) == 0 &&
            inherited.sa_handler == SIG_IGN) {
            ::sigdelset(&signals, number);
        }
    }
}

EndSignals::EndSignals() {
    const sigset_t signals = blockedEndSignals();
    m_descriptor = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

EndSignals::~EndSignals() {
    // The signals remain blocked: the process is already exiting.
    ::close(m_descriptor);
}

} // namespace sysconfctl
