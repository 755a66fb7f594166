// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>

namespace sysconfsync {

/// The pauses between failed attempts: the limit grows from 250 ms to 30 s. Each pause is shortened
/// at random by up to a half, so that the followers of a cluster do not return at the same moment.
class RetryPause {
public:
    using Milliseconds = std::chrono::milliseconds;
    static constexpr Milliseconds kFirst{250};
    static constexpr Milliseconds kLongest{30'000};

    /// @param random From 0 to 1.
    Milliseconds next(double random) {
        m_limit = std::clamp(m_limit * 2, kFirst, kLongest);
        return std::chrono::duration_cast<Milliseconds>(m_limit * (1.0 - random / 2));
    }

    void reset() { m_limit = Milliseconds::zero(); }

private:
    Milliseconds m_limit{0};
};

} // namespace sysconfsync
