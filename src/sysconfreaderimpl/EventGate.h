// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "locks/TimedWait.h"

#include <atomic>

namespace Quarncommon {

/// Separates the destruction of the role reader from those who use it without its lock: the
/// delivery of change events, and the main reader's loader while it subscribes
/// (docs/decisions/0001-event-gate.md).
class EventGate {
public:
    constexpr EventGate() = default;

    /// Closes it for good. Waits at most `limit` for the other threads inside.
    void close(Clock::duration limit);

    /// For a forked child, which has none of the other threads: opens the gate.
    void resetAfterFork() { m_state = s_staysHere; }

    /// A stay inside. Check `admitted` first.
    class Stay {
    public:
        explicit Stay(EventGate& gate) : m_gate(gate), m_admitted(gate.enter()) {}
        Stay(const Stay&) = delete;
        Stay& operator=(const Stay&) = delete;
        ~Stay() {
            if (m_admitted) {
                m_gate.leave();
            }
        }
        bool admitted() const { return m_admitted; }

    private:
        EventGate& m_gate;
        bool m_admitted;
    };

    /// Closures may overlap; the gate is open again when all have ended.
    class Closure {
    public:
        explicit Closure(EventGate& gate) : m_gate(&gate) { gate.close(kNoLimit); }
        Closure(const Closure&) = delete;
        Closure& operator=(const Closure&) = delete;
        ~Closure() { end(); }
        void end() {
            if (m_gate != nullptr) {
                m_gate->open();
                m_gate = nullptr;
            }
        }

    private:
        EventGate* m_gate;
    };

private:
    // The low half of the state is the number of stays, the high half that of closures.
    static constexpr unsigned int kStay = 1;
    static constexpr unsigned int kClosure = 1U << 16U;

    bool enter();
    void leave();
    void open();

    std::atomic<unsigned int> m_state{0};

    /// A thread must not wait for itself.
    static inline constinit thread_local unsigned int s_staysHere = 0;
};

} // namespace Quarncommon
