// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <optional>
#include <sys/signalfd.h>

namespace sysconfctl {

/// A program that `exec` starts has SIGPIPE as this process inherited it.
void ignorePipeSignal();

bool inheritedPipeSignalIgnored();

/// Makes SIGCHLD and the signals that `exec` passes on readable from a descriptor, except those
/// that this process inherited as ignored. They remain blocked, so that no time is left for a
/// signal between the end of the program and that of this process. Must be created before there is
/// a second thread, because threads inherit the blocked signals.
class PassedSignals {
public:
    /// @throws std::system_error if there is no free descriptor.
    PassedSignals();
    ~PassedSignals();
    PassedSignals(const PassedSignals&) = delete;
    PassedSignals& operator=(const PassedSignals&) = delete;

    /// Readable after a signal has arrived.
    int descriptor() const { return m_descriptor; }
    /// Takes the next signal that has arrived, if there is one. Does not block.
    std::optional<signalfd_siginfo> next() const;
    const sigset_t& inherited() const { return m_inherited; }

private:
    int m_descriptor;
    sigset_t m_inherited{};
};

/// Whether the terminal has sent the signal: to its whole foreground process group or, for SIGHUP,
/// to the leader of the session.
bool fromTerminal(const signalfd_siginfo& signal);

/// Stops this process until SIGCONT, as SIGTSTP does if it is not handled.
void stopUntilContinued();

/// Ends this process by the signal, without a core file. Returns if that is impossible, as for the
/// init process of a namespace.
void endBySignal(int number);

} // namespace sysconfctl
