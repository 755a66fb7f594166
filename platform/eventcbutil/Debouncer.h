#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace eventcbutil {

/// Gathers changes until there has been none for a quiet time, but no longer than a longest time.
/// It has no clock: whoever uses it says what time it is.
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

    /// When what has been gathered is to be announced; nothing while there is nothing.
    std::optional<Time> due() const {
        return m_gathering ? std::optional(std::min(m_last + m_quiet, m_first + m_longest))
                           : std::nullopt;
    }

    /// What has been gathered is being announced.
    void clear() { m_gathering = false; }

private:
    Duration m_quiet;
    Duration m_longest;
    bool m_gathering = false;
    Time m_first;
    Time m_last;
};

} // namespace eventcbutil
