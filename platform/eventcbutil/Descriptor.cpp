// SPDX-License-Identifier: Apache-2.0
#include "Descriptor.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace eventcbutil {
namespace {

constexpr int kFirstNumber = 3;

/// Rotates through the real-time signals, so that a reused number gets a different mark.
int nextMark() {
    static constinit std::atomic<unsigned int> calls{0};
    const auto first = static_cast<unsigned int>(SIGRTMIN);
    const auto marks = static_cast<unsigned int>(SIGRTMAX) - first + 1;
    return static_cast<int>(first + calls++ % marks);
}

[[noreturn]] void closeAndThrow(int descriptor, const char* call) {
    const int error = errno;
    ::close(descriptor);
    throw std::system_error(error, std::generic_category(), call);
}

int aboveStandardStreams(int descriptor) {
    if (descriptor >= kFirstNumber) {
        return descriptor;
    }
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstNumber);
    if (moved < 0) {
        closeAndThrow(descriptor, "fcntl");
    }
    ::close(descriptor);
    return moved;
}

} // namespace

Descriptor::Descriptor(int descriptor, const char* call) {
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), call);
    }
    const int moved = aboveStandardStreams(descriptor);
    struct stat status {};
    const int mark = nextMark();
    if (::fstat(moved, &status) != 0 || ::fcntl(moved, F_SETSIG, mark) != 0) {
        closeAndThrow(moved, "fcntl");
    }
    m_mark = mark;
    m_device = status.st_dev;
    m_inode = status.st_ino;
    m_descriptor = moved;
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        close();
        m_mark = other.m_mark;
        m_device = other.m_device;
        m_inode = other.m_inode;
        m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
}

bool Descriptor::intact() const {
    if (m_descriptor < 0) {
        return false;
    }
    const int mark = ::fcntl(m_descriptor, F_GETSIG);
    if (mark >= 0 ? mark != m_mark : errno == EBADF) {
        return false;
    }
    struct stat status {};
    if (::fstat(m_descriptor, &status) != 0) {
        // On a network file system this may fail although the descriptor is intact.
        return mark >= 0 && errno != EBADF;
    }
    return status.st_dev == m_device && status.st_ino == m_inode;
}

void Descriptor::close() {
    if (intact()) {
        ::close(m_descriptor);
    }
    m_descriptor = -1;
}

} // namespace eventcbutil
