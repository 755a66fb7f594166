#include "sysconfreaderimpl/EventGate.h"

namespace Quarncommon {

bool EventGate::enter() {
    unsigned int state = m_state.load();
    while (state < kClosure) {
        if (m_state.compare_exchange_weak(state, state + kStay)) {
            return true;
        }
    }
    return false;
}

void EventGate::leave() {
    m_state.fetch_sub(kStay);
    m_state.notify_all();
}

void EventGate::close() {
    unsigned int state = m_state.fetch_add(kClosure) + kClosure;
    while (state % kClosure != 0) {
        m_state.wait(state);
        state = m_state.load();
    }
}

void EventGate::open() {
    m_state.fetch_sub(kClosure);
}

} // namespace Quarncommon
