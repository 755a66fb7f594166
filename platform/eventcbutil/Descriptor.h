// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace eventcbutil {

/// Owns a file descriptor, numbered 3 or higher, and can verify it: the program may close any
/// descriptor (`closefrom(3)`) and open a file with the same number. So each is marked at creation
/// with the signal number of fcntl(F_SETSIG), a property of the open file description; without
/// O_ASYNC no signal is sent. fstat(2) is not enough: all inotify instances share one inode.
class Descriptor {
public:
    Descriptor() = default;
    /// @param descriptor The result of the call that opened it.
    /// @throws std::system_error if there is no descriptor or it cannot be marked; it is closed.
    Descriptor(int descriptor, const char* call);
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    /// -1 if it is closed.
    int get() const;

    bool intact() const;

    /// Closes the file unless it is lost.
    void close();

    /// For a forked child: closes all that exist. Async-signal-safe.
    static void closeInherited();

private:
    struct Entry;

    Entry* m_entry = nullptr;
};

} // namespace eventcbutil
