// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>

namespace sysconfctl {

/// Decides when `exec` starts, signals and ends, as sysconfctl(1) describes. Does nothing itself:
/// each operation reports an event and returns what to do now. The first start is the caller's.
/// A program that fails soon after a restart is started again, because what it needs may follow the
/// change of answers with a delay; one that has run for 10 s gets all pauses again.
class Supervisor {
public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    static constexpr std::chrono::seconds kGrace{10};
    /// How soon after a restart a failure belongs to the restart.
    static constexpr std::chrono::seconds kEarly{10};
    static constexpr int kPauses = 5;

    enum class Action {
        None,
        Start,
        Terminate, ///< send SIGTERM
        Kill,      ///< send SIGKILL
        Pass,      ///< send the signal that has arrived
        End        ///< end with `status`
    };

    void started(Time now);

    Action changed(Time now);

    /// The program has ended and is reaped, or could not be started.
    /// @param status As from waitpid(2).
    Action ended(int status, Time now);

    /// @param fromTerminal The terminal has sent it to the whole process group.
    /// @param sameGroup The program is in the process group of this process.
    Action signalled(int number, bool fromTerminal, bool sameGroup = true);

    /// This process was stopped until now, so that the program may have been, too.
    void continued(Time now);

    /// When to call `timeReached`, if the program is stopping or there is a pause.
    std::optional<Time> deadline() const { return m_deadline; }
    Action timeReached();

    /// The status to end with, as from waitpid(2).
    int status() const { return m_status; }

private:
    enum class State { Running, Stopping, NotRunning };

    /// Not running before the first start and in a pause.
    State m_state = State::NotRunning;
    std::optional<Time> m_deadline;
    Time m_startedAt;
    /// The present program was started by a restart, or after its failure.
    bool m_restarted = false;
    /// A signal asked for the end: there are no more starts.
    bool m_ending = false;
    int m_failures = 0;
    int m_status = 0;
};

} // namespace sysconfctl
