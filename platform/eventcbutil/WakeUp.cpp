// SPDX-License-Identifier: Apache-2.0
#include "WakeUp.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace eventcbutil {

WakeUp::WakeUp() {
    open();
}

void WakeUp::open() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    try {
        m_readEnd = Descriptor(ends[0], "pipe2");
    } catch (...) {
        ::close(ends[1]);
        throw;
    }
    m_writeEnd = Descriptor(ends[1], "pipe2");
}

void WakeUp::ring() {
    const char byte = 0;
    // A full pipe contains a wake-up already.
    if (m_writeEnd.intact() && (::write(m_writeEnd.get(), &byte, 1) == 1 || errno == EAGAIN)) {
        return;
    }
    // Closing a pipe that cannot be written to wakes the thread.
    m_writeEnd.close();
}

void WakeUp::clear() {
    if (m_writeEnd.intact() && m_readEnd.intact() && drain()) {
        return;
    }
    close();
    try {
        open();
    } catch (const std::exception&) {
        // No descriptor, or no memory to report that.
        close();
    }
}

bool WakeUp::drain() {
    std::array<char, 256> bytes{};
    ssize_t size = 0;
    do {
        size = ::read(m_readEnd.get(), bytes.data(), bytes.size());
    } while (size == static_cast<ssize_t>(bytes.size()));
    return size > 0 || (size < 0 && errno == EAGAIN);
}

void WakeUp::close() {
    m_readEnd.close();
    m_writeEnd.close();
}

} // namespace eventcbutil
