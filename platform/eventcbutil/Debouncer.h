// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace eventcbutil {

/// Collects changes until none has arrived for a quiet time, with an upper limit. It has no clock.
class Debouncer {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    Debouncer(Duration quiet, Duration longest) : m_quiet(quiet), m_longest(longest) {}

    void change(Time now) {
        m_first = m_gathering ? m_first : now;
        m_gathering = true;
        m_last = now;
    }

    std::optional<Time> due() const {
        return m_gathering ? std::optional(std::min(m_last + m_quiet, m_first + m_longest))
                           : std::nullopt;
    }

    void clear() { m_gathering = false; }

private:
    Duration m_quiet;
    Duration m_longest;
    bool m_gathering = false;
    Time m_first;
    Time m_last;
};

} // namespace eventcbutil
