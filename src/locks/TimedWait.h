// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <ctime>
#include <limits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Quarncommon {

using Clock = std::chrono::steady_clock;
inline constexpr Clock::duration kNoLimit = Clock::duration::max();

/// Sleeps while `word` has `value`, until wakeAll or for `atMost`. May return early. A futex,
/// because std::atomic::wait has no timeout, and a fork could leave the mutex of a condition
/// variable locked.
inline void waitWhile(std::atomic<unsigned int>& word, unsigned int value, Clock::duration atMost) {
    static_assert(sizeof word == sizeof(unsigned int) && sizeof word == 4);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(atMost);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(atMost - seconds).count()};
    ::syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, value, atMost != kNoLimit ? &limit : nullptr);
}

inline void wakeAll(std::atomic<unsigned int>& word) {
    ::syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, std::numeric_limits<int>::max());
}

} // namespace Quarncommon
