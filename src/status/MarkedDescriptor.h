// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <sys/types.h>

namespace Quarncommon::status {

/// A descriptor that the program may close at any time and whose number it may then use for another
/// file. So the open file description has a mark, the signal number of fcntl(F_SETSIG), which is
/// verified before each use; no signal is sent without O_ASYNC. The inode does not suffice: all
/// eventfds share one. No function is a cancellation point, throws, or changes `errno` except to
/// report a failure.
class MarkedDescriptor {
public:
    constexpr MarkedDescriptor() = default;

    /// The number is above the standard streams. Returns false with the reason in `errno`.
    bool openEvent() noexcept;

    /// The number, -1 for none. It may be lost, see `intact`.
    int number() const noexcept { return m_number.load(); }

    bool intact() const noexcept;

    void ring() const noexcept;

    void close() noexcept;

    /// Stops using the number without closing it.
    void forget() noexcept { m_number = -1; }

private:
    int m_mark = 0;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    /// Written after the mark, for forked children.
    std::atomic<int> m_number{-1};
};

} // namespace Quarncommon::status
