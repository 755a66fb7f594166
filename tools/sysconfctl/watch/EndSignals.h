// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sysconfctl {

/// Makes SIGINT, SIGTERM and SIGHUP readable from a descriptor. Must be created before there is a
/// second thread, because threads inherit the blocked signals.
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
