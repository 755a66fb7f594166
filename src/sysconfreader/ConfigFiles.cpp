#include "sysconfreader/ConfigFiles.h"

#include "sysconfreader/Guards.h"

#include <JsonReader.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quarncommon::config {

namespace {

/// Opens the path; a signal that interrupts it, as it may on a network or where a lease is waited
/// for, does not count.
int openUninterrupted(const std::string& path, int flags) {
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

/// An open file. While it is open its thread is not cancelled: closing is a cancellation point, and
/// to unwind from there would end the process.
class Descriptor {
public:
    explicit Descriptor(const std::string& path) {
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState);
        // Without waiting, should the path be a pipe: callers hold locks while they read. Only a
        // file that is leased to another process is waited for.
        constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY;
        m_descriptor = openUninterrupted(path, kFlags | O_NONBLOCK);
        if (m_descriptor < 0 && errno == EWOULDBLOCK) {
            m_descriptor = openUninterrupted(path, kFlags);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
        ::pthread_setcancelstate(m_cancelState, nullptr);
    }
    int get() const { return m_descriptor; }

private:
    int m_cancelState = PTHREAD_CANCEL_ENABLE;
    int m_descriptor = -1;
};

/// A file's bytes, with room behind them that a Document may look at. Unlike a string it is not
/// filled with zeros before it is read into.
class Text {
public:
    const char* data() const { return m_bytes.get(); }
    std::size_t length() const { return m_length; }

    /// Reads from the start to the end, `size` bytes by the look of it; files of /proc have 0. A
    /// file that has just that many is known to have ended by its size, which the caller compares
    /// once more; it saves the read that would find nothing.
    bool readFrom(int descriptor, std::size_t size) {
        m_length = 0;
        if (size > kLargest) {
            return false;
        }
        reserve(std::max(size, kSmallest));
        for (;;) {
            const ssize_t count = ::pread(descriptor, m_bytes.get() + m_length,
                                          m_capacity - m_length, static_cast<off_t>(m_length));
            if (count < 0 && errno != EINTR) {
                return false;
            }
            m_length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
            if (count == 0 || (size != 0 && m_length == size)) {
                return true;
            }
            if (m_length > kLargest) { // GCOVR_EXCL_BR_LINE: as the next line
                return false;          // GCOVR_EXCL_LINE: by a file that grows beyond 1 GiB
            }
            if (m_length == m_capacity) {
                reserve(2 * m_capacity);
            }
        }
    }

private:
    static constexpr std::size_t kSmallest = 4096;
    /// No reader takes a longer text, so nobody's memory is filled with one. A file that claims
    /// such a size, which costs its writer nothing where files have holes, is not even read.
    static constexpr std::size_t kLargest = std::size_t{1} << 30U;

    void reserve(std::size_t capacity) {
        if (capacity > m_capacity) {
            auto bytes = std::make_unique_for_overwrite<char[]>(capacity + Document::kPadding);
            std::copy_n(m_bytes.get(), m_length, bytes.get());
            m_bytes = std::move(bytes);
            m_capacity = capacity;
        }
    }

    std::unique_ptr<char[]> m_bytes;
    std::size_t m_length = 0;
    std::size_t m_capacity = 0;
};

bool sameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// Whether the file was written so lately that another write might leave the same time stamp: file
/// systems stamp with the kernel's clock tick, which is 10 ms at the most.
bool writtenLately(const struct stat& status) {
    constexpr double kLately = 0.05;
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const double age = static_cast<double>(now.tv_sec - status.st_mtim.tv_sec) +
                       static_cast<double>(now.tv_nsec - status.st_mtim.tv_nsec) * 1e-9;
    return age < kLately;
}

/// Reads a text that stood in the file at one moment: a file that is rewritten in place while it
/// is read would give the start of one text and the end of another. One that does not hold still
/// for any of a few attempts counts as unreadable.
bool readWhole(const std::string& path, Text& text) {
    constexpr int kAttempts = 4;
    const Descriptor file(path);
    if (file.get() < 0) {
        return false;
    }
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        struct stat before {};
        struct stat after {};
        if (::fstat(file.get(), &before) != 0 || !S_ISREG(before.st_mode)) {
            return false;
        }
        const auto size = static_cast<std::size_t>(before.st_size);
        if (!text.readFrom(file.get(), size) || ::fstat(file.get(), &after) != 0) {
            return false;
        }
        if (before.st_size != after.st_size || !sameTime(before.st_mtim, after.st_mtim)) {
            continue;
        }
        Text again;
        if (!writtenLately(before) || (again.readFrom(file.get(), size) &&
                                       std::equal(again.data(), again.data() + again.length(),
                                                  text.data(), text.data() + text.length()))) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr ? value : "";
}

std::string pathOf(const ConfigFile& file) {
    return environment(file.variable) + file.suffix;
}

std::optional<std::string> pathIfSet(const ConfigFile& file) {
    const char* value = std::getenv(file.variable);
    return value != nullptr ? std::optional<std::string>(std::string(value) + file.suffix)
                            : std::nullopt;
}

std::optional<std::string> readText(const std::string& path) {
    std::optional<std::string> bytes;
    completes([&] {
        Text text;
        if (readWhole(path, text)) {
            bytes.emplace(text.data(), text.length());
        }
    });
    return bytes;
}

bool readJsonFile(const std::string& path, Json::Value& value) {
    bool parsed = false;
    completes([&] {
        Text text;
        parsed = readWhole(path, text) &&
                 JsonReader(false).parse(std::string(text.data(), text.length()), value);
    });
    return parsed;
}

bool readJsonFile(const std::string& path, Document& document) {
    bool parsed = false;
    completes([&] {
        Text text;
        parsed = readWhole(path, text) && document.read(text.data(), text.length());
    });
    return parsed;
}

#ifndef SYSCONFREADER_WITH_DOCUMENT
bool Document::read(const char* text, std::size_t length) {
    return JsonReader(false).parse(std::string(text, length), m_tree);
}
#endif

} // namespace Quarncommon::config
