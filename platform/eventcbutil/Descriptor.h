// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace eventcbutil {

/// Owns a file descriptor and can verify it.
///
/// The program may close any descriptor (`closefrom(3)` when it becomes a daemon) and then open a
/// file that gets the same number. So each descriptor is marked at creation, and the mark is
/// verified before each use. The mark is the signal number of fcntl(F_SETSIG), a property of the
/// open file description; no signal is sent, because O_ASYNC is not set. fstat(2) is not enough:
/// all inotify instances share one inode.
///
/// The number is 3 or higher, because programs reopen their standard streams.
class Descriptor {
public:
    Descriptor() = default;
    /// @param descriptor The result of the call that opened it. If it is negative, errno is thrown.
    /// @throws std::system_error if there is no descriptor or it cannot be marked; it is closed.
    Descriptor(int descriptor, const char* call);
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    /// The number, -1 for none. Check it with `intact`.
    int get() const { return m_descriptor; }

    /// Whether the number still refers to the file that was opened.
    bool intact() const;

    /// Closes the file unless it is lost. Async-signal-safe, for forked children.
    void close();

private:
    int m_descriptor = -1;
    int m_mark = 0;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

} // namespace eventcbutil
