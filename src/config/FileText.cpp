// SPDX-License-Identifier: Apache-2.0
#include "config/FileText.h"

#include "base/CancellationDisabled.h"
#include "base/Exceptions.h"
#include "config/ConfigDocument.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Quarncommon::config {

namespace {

using Outcome = ReadResult::Outcome;

/// Some errors are properties of the path, others are temporary. Those of connections come from
/// network file systems and from file systems in user space.
ReadResult resultOf(int error) {
    constexpr std::array kTransient = {
        ENOMEM,   EMFILE,       ENFILE,     ENOBUFS,      EINTR,     EAGAIN,
        EBUSY,    EBADF,        EIO,        EREMOTEIO,    ESTALE,    ETIMEDOUT,
        ENOTCONN, ECONNABORTED, ECONNRESET, ECONNREFUSED, EHOSTDOWN, EHOSTUNREACH};
    const bool transient =
        std::find(kTransient.begin(), kTransient.end(), error) != kTransient.end();
    const Outcome permanent = error == EFBIG ? Outcome::TooLarge : Outcome::Unreadable;
    return {transient ? Outcome::Unavailable : permanent, error};
}

/// Repeats the call if a signal interrupts it, as on network file systems.
int openUninterrupted(const std::string& path, int flags) {
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

/// An open file. The program may close all descriptors and use their numbers again: what is not
/// this file is not closed.
class Descriptor {
public:
    explicit Descriptor(const std::string& path) {
        // O_NONBLOCK, because callers hold locks and the path may be a pipe. The call blocks only
        // for a file that another process has leased.
        constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY;
        m_descriptor = openUninterrupted(path, kFlags | O_NONBLOCK);
        if (m_descriptor < 0 && errno == EWOULDBLOCK) {
            m_descriptor = openUninterrupted(path, kFlags);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (m_descriptor >= 0 && isIntact()) {
            ::close(m_descriptor);
        }
    }
    bool isOpen() const { return m_descriptor >= 0; }
    int toRead() {
        m_isVerified = false;
        return m_descriptor;
    }
    /// As fstat(). The error is EBADF, too, if the number is now that of another file.
    bool getStatus(struct stat& status) {
        const bool done = ::fstat(m_descriptor, &status) == 0;
        if (done && !m_identity) {
            m_identity = {status.st_dev, status.st_ino};
        }
        m_isIntact = done ? m_identity == std::pair(status.st_dev, status.st_ino) : errno != EBADF;
        m_isVerified = true;
        if (done && !m_isIntact) {
            errno = EBADF;
        }
        return done && m_isIntact;
    }
    bool isIntact() {
        if (!m_isVerified) {
            struct stat status {};
            getStatus(status);
        }
        return m_isIntact;
    }

private:
    const CancellationDisabled m_disabled;
    int m_descriptor = -1;
    std::optional<std::pair<dev_t, ino_t>> m_identity;
    bool m_isIntact = true;
    bool m_isVerified = true;
};

bool sameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// The change time is compared as well, because a program can set the modification time back.
bool sameState(const struct stat& a, const struct stat& b) {
    return a.st_size == b.st_size && sameTime(a.st_mtim, b.st_mtim) &&
           sameTime(a.st_ctim, b.st_ctim);
}

double secondsBetween(const timespec& earlier, const timespec& later) {
    return static_cast<double>(later.tv_sec - earlier.tv_sec) +
           static_cast<double>(later.tv_nsec - earlier.tv_nsec) * 1e-9;
}

/// FAT has the coarsest time stamps, of 2 s; the kernel's clock tick is at most 10 ms.
bool writtenLately(const struct stat& status) {
    constexpr double kGranularity = 2.05;
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return secondsBetween(status.st_mtim, now) < kGranularity ||
           secondsBetween(status.st_ctim, now) < kGranularity;
}

/// A write in place may take longer than several reads: each pause from the third read on is twice
/// as long, 3 ms in total.
void pauseBefore(int read) {
    if (read >= 2) {
        constexpr long kFirst = 50000; // ns
        const timespec pause{.tv_sec = 0, .tv_nsec = kFirst << (read - 2)};
        ::clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr);
    }
}

} // namespace

bool FileText::operator==(const FileText& other) const {
    return data() == other.data() ||
           std::equal(data(), data() + m_length, other.data(), other.data() + other.m_length);
}

bool FileText::readFrom(int descriptor, std::size_t size, const FileText* known) {
    m_length = 0;
    m_same = nullptr;
    if (known == nullptr || known->length() != size || size == 0) {
        return readMore(descriptor, size);
    }
    // By pieces that stay in the processor's cache.
    constexpr std::size_t kPiece = std::size_t{32} << 10U;
    if (m_capacity == 0) {
        grow(std::min(size, kPiece));
    }
    const std::size_t piece = std::min(m_capacity, kPiece);
    std::size_t equal = 0;
    while (equal != size) {
        const ssize_t result = ::pread(descriptor, m_bytes.get(), std::min(size - equal, piece),
                                       static_cast<off_t>(equal));
        if (result < 0 && errno != EINTR) {
            return false;
        }
        const auto bytes = static_cast<std::size_t>(std::max<ssize_t>(result, 0));
        if (bytes == 0 || std::memcmp(m_bytes.get(), known->data() + equal, bytes) != 0) {
            // Another text, an interruption or the end: the rest is read without comparing.
            prepend(*known, equal, bytes);
            return append(bytes, size) || readMore(descriptor, size);
        }
        equal += bytes;
    }
    m_same = known;
    m_length = size;
    return true;
}

bool FileText::readMore(int descriptor, std::size_t size) {
    const std::size_t most = size != 0 ? size : kLargestWithoutSize;
    for (;;) {
        reserveMore(size, most);
        char* const end = m_bytes.get() + m_length;
        const ssize_t result = ::pread(descriptor, end, std::min(m_capacity, most) - m_length,
                                       static_cast<off_t>(m_length));
        if (result < 0 && errno != EINTR) {
            return false;
        }
        if (append(static_cast<std::size_t>(std::max<ssize_t>(result, 0)), size) || result == 0) {
            return true;
        }
        if (m_length == most) {
            errno = EFBIG;
            return false;
        }
    }
}

void FileText::reserveMore(std::size_t size, std::size_t most) {
    constexpr std::size_t kSmallest = 4096;
    constexpr std::size_t kTrusted = std::size_t{4} << 20U;
    if (m_length == m_capacity) {
        grow(std::min(most, std::max({2 * m_capacity, kSmallest, std::min(size, kTrusted)})));
    }
}

void FileText::grow(std::size_t capacity) {
    // realloc, because it moves large blocks without copying them.
    void* bytes = std::realloc(m_bytes.get(), capacity + Document::kPadding);
    if (bytes == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(m_bytes.release());
    m_bytes.reset(static_cast<char*>(bytes));
    m_capacity = capacity;
}

void FileText::prepend(const FileText& known, std::size_t length, std::size_t bytes) {
    if (m_capacity < known.length()) {
        grow(known.length());
    }
    std::memmove(m_bytes.get() + length, m_bytes.get(), bytes);
    std::memcpy(m_bytes.get(), known.data(), length);
    m_length = length;
}

bool FileText::append(std::size_t bytes, std::size_t size) {
    const char* const end = m_bytes.get() + m_length;
    if (const void* nul = bytes != 0 ? std::memchr(end, '\0', bytes) : nullptr) {
        m_length = static_cast<std::size_t>(static_cast<const char*>(nul) - m_bytes.get()) + 1;
        return true;
    }
    m_length += bytes;
    // The read at the end is skipped: the caller compares the size again.
    return size != 0 && m_length == size;
}

// If the time stamps might not show a change, a second read must give the same bytes. If they
// change during each read, a program may only be touching the file: then the last two reads are
// compared.
ReadResult readWhole(const std::string& path, FileText& text, const FileText* known) {
    constexpr int kReads = 8;
    Descriptor file(path);
    if (!file.isOpen()) {
        return resultOf(errno);
    }
    FileText former;
    for (int read = 0; read < kReads; ++read) {
        pauseBefore(read);
        struct stat before {};
        struct stat after {};
        if (!file.getStatus(before)) {
            return resultOf(errno);
        }
        const auto size = static_cast<std::size_t>(before.st_size);
        if (!S_ISREG(before.st_mode)) {
            return Outcome::NotRegular;
        }
        if (size > FileText::kLargest) {
            return Outcome::TooLarge;
        }
        if (!text.readFrom(file.toRead(), size, known)) {
            const int error = errno;
            return resultOf(file.isIntact() ? error : EBADF);
        }
        if (!file.getStatus(after)) {
            return resultOf(errno);
        }
        const bool still = sameState(before, after);
        if (still && !writtenLately(after)) {
            return Outcome::Parsed;
        }
        if (read != 0 && text == former && (still || read == kReads - 1)) {
            return Outcome::Parsed;
        }
        std::swap(text, former);
    }
    return Outcome::Unavailable;
}

std::optional<std::string> readText(const std::string& path) {
    std::optional<std::string> bytes;
    runDroppingExceptions([&] {
        FileText text;
        if (readWhole(path, text)) {
            bytes.emplace(text.data(), text.length());
        }
    });
    return bytes;
}

} // namespace Quarncommon::config
