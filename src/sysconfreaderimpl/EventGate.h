#pragma once

#include <atomic>

namespace Quarncommon {

/// Keeps the delivery of change events and the destruction of the role reader apart.
///
/// Destruction ends the subscription while it holds the role reader's write lock, and the event
/// library may wait there for a callback that is running, while that callback would wait for the
/// lock. So destruction first closes the gate, which waits (with no lock held) until the deliveries
/// inside have finished, and those that come to a closed gate turn back at once. Behind an open
/// gate the role reader cannot be destroyed; so what a delivery has found alive stays alive until
/// it leaves.
class EventGate {
public:
    constexpr EventGate() = default;

    /// A delivery's stay inside; check `admitted` first.
    class Delivery {
    public:
        explicit Delivery(EventGate& gate) : m_gate(gate), m_admitted(gate.enter()) {}
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;
        ~Delivery() {
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
    // The low half of the state counts deliveries inside, the high half closures.
    static constexpr unsigned int kDelivery = 1;
    static constexpr unsigned int kClosure = 1U << 16U;

    bool enter();
    void leave();
    void close();
    void open();

    std::atomic<unsigned int> m_state{0};
};

} // namespace Quarncommon
