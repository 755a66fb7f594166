// SPDX-License-Identifier: Apache-2.0
#include "sysconfreaderimpl/EventGate.h"

#include "base/ForkCheck.h"

namespace Quarncommon {

bool EventGate::enter() {
    noticeFork();
    unsigned int state = m_state.load();
    while (state < kClosure) {
        if (m_state.compare_exchange_weak(state, state + kStay)) {
            ++s_staysHere;
            return true;
        }
    }
    return false;
}

void EventGate::leave() {
    --s_staysHere;
    if (m_state.fetch_sub(kStay) >= kClosure) {
        wakeAll(m_state);
    }
}

void EventGate::close(Clock::duration limit) {
    noticeFork();
    const Clock::time_point start = Clock::now();
    unsigned int state = m_state.fetch_add(kClosure) + kClosure;
    while (state % kClosure > s_staysHere) {
        const Clock::duration waited = limit != kNoLimit ? Clock::now() - start : Clock::duration();
        if (waited >= limit) {
            return;
        }
        waitWhile(m_state, state, limit != kNoLimit ? limit - waited : kNoLimit);
        state = m_state.load();
    }
}

void EventGate::open() {
    m_state.fetch_sub(kClosure);
}

} // namespace Quarncommon
