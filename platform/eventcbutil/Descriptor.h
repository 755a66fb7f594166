// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace eventcbutil {

/// Owns a file descriptor and can verify it.
///
/// The program may close any descriptor (`closefrom(3)` when it becomes a daemon) and open its own
/// files under the same number. So each descriptor is marked at creation, and the mark is verified
/// before each use. The mark is the signal number of fcntl(F_SETSIG), which belongs to the open
/// file description; no signal is sent, because O_ASYNC is not set. fstat(2) does not suffice: all
/// instances of inotify share one inode.
///
/// The number is 3 or higher, out of the way of a program that reopens its standard streams.
class Descriptor {
public:
    /// None.
    Descriptor() = default;
    /// Takes ownership of a new descriptor.
    /// @param descriptor The result of the call that opened it. If it is negative, errno is thrown.
    /// @throws std::system_error if there is no descriptor or it cannot be marked; it is closed.
    Descriptor(int descriptor, const char* call);
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    /// The number, -1 for none. It may be lost, see `intact`.
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
