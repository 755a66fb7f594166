// SPDX-License-Identifier: Apache-2.0
#include "exec/Supervisor.h"

#include <csignal>
#include <sys/wait.h>

namespace sysconfctl {
namespace {

bool asksForTheEnd(int number, bool fromTerminal) {
    // SIGHUP of a process means "read the configuration" to many programs.
    return number == SIGTERM || number == SIGINT || number == SIGQUIT ||
           (number == SIGHUP && fromTerminal);
}

} // namespace

void Supervisor::started(Time now) {
    m_state = State::Running;
    m_startedAt = now;
    m_deadline.reset();
}

Supervisor::Action Supervisor::changed(Time now) {
    // Otherwise the next start has the new answers anyway, or there is none.
    if (m_state != State::Running || m_ending) {
        return Action::None;
    }
    m_state = State::Stopping;
    m_deadline = now + kGrace;
    return Action::Terminate;
}

Supervisor::Action Supervisor::ended(int status, Time now) {
    m_status = status;
    m_deadline.reset();
    if (m_ending) {
        return Action::End;
    }
    if (m_state == State::Stopping) {
        m_failures = now - m_startedAt < kEarly ? m_failures : 0;
        m_restarted = true;
        return Action::Start;
    }
    const bool early = m_restarted && now - m_startedAt < kEarly;
    m_failures = early ? m_failures : 0;
    if (!early || status == 0 || m_failures == kPauses) {
        return Action::End;
    }
    m_state = State::NotRunning;
    m_deadline = now + std::chrono::seconds(1 << m_failures++);
    return Action::None;
}

Supervisor::Action Supervisor::signalled(int number, bool fromTerminal, bool sameGroup) {
    const bool end = asksForTheEnd(number, fromTerminal);
    m_ending = m_ending || end;
    if (m_state == State::NotRunning) {
        m_status = W_EXITCODE(0, number);
        return end ? Action::End : Action::None;
    }
    const bool sentAlready = m_state == State::Stopping && number == SIGTERM;
    // A hangup reaches only the leader of the session, which may be this process.
    const bool received = fromTerminal && sameGroup && number != SIGHUP;
    return sentAlready || received ? Action::None : Action::Pass;
}

void Supervisor::continued(Time now) {
    if (m_state == State::Stopping && m_deadline) {
        m_deadline = now + kGrace;
    }
}

Supervisor::Action Supervisor::timeReached() {
    m_deadline.reset();
    return m_state == State::Stopping ? Action::Kill : Action::Start;
}

} // namespace sysconfctl
