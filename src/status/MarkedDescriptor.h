// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <sys/types.h>

namespace Quarncommon::status {

/// A file descriptor that the program may close at any time, by its number or with all others, and
/// whose number it may then use for another file. So the open file description has a mark, the
/// signal number of fcntl(F_SETSIG), which is verified before each use. No signal is sent, because
/// O_ASYNC is not set. The inode alone does not suffice: all descriptors of eventfd(2) share one.
///
/// No function is a cancellation point, throws, or changes `errno` except to report a failure.
class MarkedDescriptor {
public:
    constexpr MarkedDescriptor() = default;

    /// Opens an eventfd with a number above the standard streams.
    /// @return Whether it succeeded; if not, the reason is in `errno`.
    bool openEvent() noexcept;

    /// The number, -1 for none. It may be lost, see `intact`.
    int number() const noexcept { return m_number.load(); }

    /// Whether the number still refers to the file that was opened.
    bool intact() const noexcept;

    /// Makes it readable, if it is intact.
    void ring() const noexcept;

    /// Closes it if it is intact.
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
