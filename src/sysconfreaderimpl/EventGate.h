#pragma once

#include <atomic>

namespace Quarncommon {

/// Keeps the destruction of the role reader apart from those who use it without its lock: the
/// delivery of change events, and the main reader's loader when it subscribes.
///
/// Destruction ends the subscription while it holds the role reader's write lock, and the event
/// library may wait there for a callback that is running, while that callback would wait for the
/// lock. So destruction first closes the gate, which waits (with no lock held) until those inside
/// have left, and who comes to a closed gate turns back at once. Behind an open gate the role
/// reader cannot be destroyed; so what was found alive inside stays alive until one leaves.
class EventGate {
public:
    constexpr EventGate() = default;

    /// Closes the gate for good.
    void close();

    /// Opens the gate, with nobody inside: for a forked child, which has none of the threads that
    /// were inside or have closed it.
    void forgetOtherThreads() { m_state = 0; }

    /// A stay inside; check `admitted` first.
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

    /// The time from closing to reopening. Several may overlap; the gate is open when all have
    /// ended.
    class Closure {
    public:
        explicit Closure(EventGate& gate) : m_gate(&gate) { gate.close(); }
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
    // The low half of the state counts those inside, the high half closures.
    static constexpr unsigned int kStay = 1;
    static constexpr unsigned int kClosure = 1U << 16U;

    bool enter();
    void leave();
    void open();

    std::atomic<unsigned int> m_state{0};
};

} // namespace Quarncommon
