// SPDX-License-Identifier: Apache-2.0
#include "exec/PassedSignals.h"

#include "watch/EndSignals.h"

#include <cerrno>
#include <sys/prctl.h>
#include <system_error>
#include <unistd.h>

namespace sysconfctl {
namespace {

bool pipeSignalIgnored = false;

sigset_t setOf(std::initializer_list<int> numbers) {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int number : numbers) {
        ::sigaddset(&signals, number);
    }
    return signals;
}

/// All but those that report a fault, a limit or a closed pipe of this process.
sigset_t passedSignals() {
    sigset_t signals;
    ::sigfillset(&signals);
    for (const int own :
         {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGSYS, SIGTRAP, SIGABRT, SIGXCPU, SIGXFSZ, SIGPIPE}) {
        ::sigdelset(&signals, own);
    }
    return signals;
}

} // namespace

void ignorePipeSignal() {
    pipeSignalIgnored = std::signal(SIGPIPE, SIG_IGN) == SIG_IGN;
}

bool inheritedPipeSignalIgnored() {
    return pipeSignalIgnored;
}

PassedSignals::PassedSignals() {
    // One that is ignored must not end `exec`: the program, which ignores it too, continues.
    sigset_t signals = passedSignals();
    removeIgnored(signals);
    ::pthread_sigmask(SIG_BLOCK, &signals, &m_inherited);
    // While it is ignored, the kernel discards the statuses of children.
    std::signal(SIGCHLD, SIG_DFL);
    m_descriptor = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

PassedSignals::~PassedSignals() {
    ::close(m_descriptor);
}

std::optional<signalfd_siginfo> PassedSignals::next() const {
    signalfd_siginfo signal{};
    if (::read(m_descriptor, &signal, sizeof signal) != sizeof signal) {
        return std::nullopt;
    }
    return signal;
}

bool fromTerminal(const signalfd_siginfo& signal) {
    return signal.ssi_code == SI_KERNEL;
}

void stopUntilContinued() {
    const sigset_t stop = setOf({SIGTSTP});
    std::raise(SIGTSTP);
    ::pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);
    ::pthread_sigmask(SIG_BLOCK, &stop, nullptr);
}

void endBySignal(int number) {
    // The program has written its own core file, if it dumps one.
    ::prctl(PR_SET_DUMPABLE, 0);
    std::signal(number, SIG_DFL);
    std::raise(number);
    const sigset_t signal = setOf({number});
    ::pthread_sigmask(SIG_UNBLOCK, &signal, nullptr);
}

} // namespace sysconfctl
