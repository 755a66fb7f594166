// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace eventcbutil {

/// Decides when a failed delivery is repeated: after 100 ms, then 200 ms and so on up to 30 s.
class Backoff {
public:
    using Time = std::chrono::steady_clock::time_point;
    static constexpr std::chrono::milliseconds kFirst{100};
    static constexpr std::chrono::milliseconds kLongest{30'000};

    void failed(Time now) {
        m_pause = std::clamp(m_pause * 2, kFirst, kLongest);
        m_due = now + m_pause;
    }

    void repeating() { m_due.reset(); }

    void reset() {
        m_pause = {};
        m_due.reset();
    }

    std::optional<Time> due() const { return m_due; }

private:
    std::chrono::milliseconds m_pause{0};
    std::optional<Time> m_due;
};

} // namespace eventcbutil
