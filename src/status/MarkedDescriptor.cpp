// SPDX-License-Identifier: Apache-2.0
#include "status/MarkedDescriptor.h"

#include "base/CancellationDisabled.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quarncommon::status {

namespace {

constexpr int kFirstNumber = 3;

class ErrnoKept {
public:
    ErrnoKept() = default;
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;
    ~ErrnoKept() { errno = m_errno; }

private:
    int m_errno = errno;
};

void closeNumber(int number) {
    const ErrnoKept kept;
    const CancellationDisabled disabled;
    ::close(number);
}

/// Rotates through the real-time signals, so that a reused number gets a different mark.
int nextMark() {
    static constinit std::atomic<unsigned int> calls{0};
    const auto first = static_cast<unsigned int>(SIGRTMIN);
    const auto marks = static_cast<unsigned int>(SIGRTMAX) - first + 1;
    return static_cast<int>(first + calls++ % marks);
}

} // namespace

bool MarkedDescriptor::openEvent() noexcept {
    int number = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (number >= 0 && number < kFirstNumber) {
        const int moved = ::fcntl(number, F_DUPFD_CLOEXEC, kFirstNumber);
        closeNumber(number);
        number = moved;
    }
    const int mark = nextMark();
    if (number < 0) {
        return false;
    }
    struct stat status {};
    if (::fcntl(number, F_SETSIG, mark) != 0 || ::fstat(number, &status) != 0) {
        closeNumber(number);
        return false;
    }
    m_mark = mark;
    m_device = status.st_dev;
    m_inode = status.st_ino;
    m_number = number;
    return true;
}

bool MarkedDescriptor::intact() const noexcept {
    const ErrnoKept kept;
    const int number = m_number.load();
    if (number < 0) {
        return false;
    }
    const int mark = ::fcntl(number, F_GETSIG);
    if (mark >= 0 ? mark != m_mark : errno == EBADF) {
        return false;
    }
    struct stat status {};
    if (::fstat(number, &status) != 0) {
        return mark >= 0 && errno != EBADF;
    }
    return status.st_dev == m_device && status.st_ino == m_inode;
}

void MarkedDescriptor::ring() const noexcept {
    if (!intact()) {
        return;
    }
    const ErrnoKept kept;
    const CancellationDisabled disabled;
    const std::uint64_t one = 1;
    // Fails only if the counter is saturated; the descriptor is readable then anyway.
    [[maybe_unused]] const ssize_t written = ::write(m_number.load(), &one, sizeof one);
}

void MarkedDescriptor::close() noexcept {
    if (intact()) {
        closeNumber(m_number.load());
    }
    forget();
}

} // namespace Quarncommon::status
