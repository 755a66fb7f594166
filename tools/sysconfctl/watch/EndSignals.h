#pragma once

namespace sysconfctl {

/// Takes the signals that ask a process to end, SIGINT, SIGTERM and SIGHUP, as something to read
/// instead of a death. Made before there is a second thread, all threads leave them alone.
class EndSignals {
public:
    /// @throws std::system_error when the kernel has no descriptor left.
    EndSignals();
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    /// Readable when one has come.
    int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace sysconfctl
