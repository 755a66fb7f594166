// SPDX-License-Identifier: Apache-2.0
#include "Descriptor.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace eventcbutil {

/// Part of a list that a forked child reads. Without locks, because threads that the child does not
/// have may have been changing it. Entries are reused, never freed.
struct Descriptor::Entry {
    /// Stored after the other members; -1 while there is no file.
    std::atomic<int> number{-1};
    int mark = 0;
    dev_t device = 0;
    ino_t inode = 0;
    std::atomic<bool> owned{true};
    Entry* next = nullptr;

    static constinit std::atomic<Entry*> s_first;

    /// Null if there is no memory.
    static Entry* take();
    bool intact() const;
    void close();
};

constinit std::atomic<Descriptor::Entry*> Descriptor::Entry::s_first{nullptr};

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

Descriptor::Entry* Descriptor::Entry::take() {
    for (Entry* entry = s_first; entry != nullptr; entry = entry->next) {
        if (!entry->owned.exchange(true)) {
            return entry;
        }
    }
    auto* const added = new (std::nothrow) Entry;
    if (added != nullptr) {
        added->next = s_first;
        while (!s_first.compare_exchange_weak(added->next, added)) {
        }
    }
    return added;
}

bool Descriptor::Entry::intact() const {
    if (number < 0) {
        return false;
    }
    const int now = ::fcntl(number, F_GETSIG);
    if (now >= 0 ? now != mark : errno == EBADF) {
        return false;
    }
    struct stat status {};
    if (::fstat(number, &status) != 0) {
        // On a network file system this may fail although the descriptor is intact.
        return now >= 0 && errno != EBADF;
    }
    return status.st_dev == device && status.st_ino == inode;
}

void Descriptor::Entry::close() {
    if (intact()) {
        ::close(number);
    }
    number = -1;
}

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
    m_entry = Entry::take();
    if (m_entry == nullptr) {
        errno = ENOMEM;
        closeAndThrow(moved, call);
    }
    m_entry->mark = mark;
    m_entry->device = status.st_dev;
    m_entry->inode = status.st_ino;
    m_entry->number = moved;
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        close();
        m_entry = std::exchange(other.m_entry, nullptr);
    }
    return *this;
}

int Descriptor::get() const {
    return m_entry != nullptr ? m_entry->number.load() : -1;
}

bool Descriptor::intact() const {
    return m_entry != nullptr && m_entry->intact();
}

void Descriptor::close() {
    if (Entry* const entry = std::exchange(m_entry, nullptr)) {
        entry->close();
        entry->owned = false;
    }
}

void Descriptor::closeInherited() {
    for (Entry* entry = Entry::s_first; entry != nullptr; entry = entry->next) {
        entry->close();
    }
}

} // namespace eventcbutil
