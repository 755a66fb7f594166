// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>

namespace sysconfctl {

/// Removes the signals but SIGCHLD that this process ignores, for instance under nohup. The kernel
/// would queue them while they are blocked.
void removeIgnored(sigset_t& signals);

/// Makes SIGINT, SIGTERM and SIGHUP readable from a descriptor, unless they are ignored. Must be
/// created before there is a second thread, because threads inherit the blocked signals.
class EndSignals {
public:
    /// @throws std::system_error if there is no free descriptor.
    EndSignals();
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace sysconfctl
