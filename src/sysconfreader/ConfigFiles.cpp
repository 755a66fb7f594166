#include "sysconfreader/ConfigFiles.h"

#include "sysconfreader/Guards.h"

#include <JsonReader.h>

#include <algorithm>
#include <array>
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

using Outcome = ReadResult::Outcome;

/// What a failed system call says about the file: some errors belong to the path, the others to the
/// moment.
Outcome outcomeOf(int error) {
    constexpr std::array kOfTheMoment = {ENOMEM, EMFILE, ENFILE, EIO,       ESTALE,
                                         EINTR,  EAGAIN, EBUSY,  ETIMEDOUT, ENOBUFS};
    const bool passes =
        std::find(kOfTheMoment.begin(), kOfTheMoment.end(), error) != kOfTheMoment.end();
    return passes ? Outcome::Unavailable : Outcome::NotParsed;
}

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

    /// No reader takes a longer text, so no memory is filled with one. A larger file, which costs
    /// its writer nothing if it has holes, is not read.
    static constexpr std::size_t kLargest = std::size_t{1} << 30U;

    /// Reads the whole file; false with the error in `errno` if that fails. `size` is st_size, a
    /// hint only: /proc reports 0. Reading ends at `size` bytes without the read that would find
    /// the end, because the caller compares the size again.
    bool readFrom(int descriptor, std::size_t size) {
        m_length = 0;
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
                errno = EFBIG;         // GCOVR_EXCL_LINE: by a file that grows beyond 1 GiB
                return false;          // GCOVR_EXCL_LINE
            }
            if (m_length == m_capacity) {
                reserve(2 * m_capacity);
            }
        }
    }

private:
    static constexpr std::size_t kSmallest = 4096;

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

/// Reads a text that the file had at one moment: a file that is rewritten in place while it is read
/// would give the start of one text and the end of another. One that changes during each of a few
/// attempts is unavailable.
Outcome readWhole(const std::string& path, Text& text) {
    constexpr int kAttempts = 4;
    const Descriptor file(path);
    if (file.get() < 0) {
        return outcomeOf(errno);
    }
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        struct stat before {};
        struct stat after {};
        if (::fstat(file.get(), &before) != 0) {
            return outcomeOf(errno);
        }
        const auto size = static_cast<std::size_t>(before.st_size);
        if (!S_ISREG(before.st_mode) || size > Text::kLargest) {
            return Outcome::NotParsed;
        }
        if (!text.readFrom(file.get(), size) || ::fstat(file.get(), &after) != 0) {
            return outcomeOf(errno);
        }
        if (before.st_size != after.st_size || !sameTime(before.st_mtim, after.st_mtim)) {
            continue;
        }
        Text again;
        if (!writtenLately(before) || (again.readFrom(file.get(), size) &&
                                       std::equal(again.data(), again.data() + again.length(),
                                                  text.data(), text.data() + text.length()))) {
            return Outcome::Parsed;
        }
    }
    return Outcome::Unavailable;
}

/// Reads the file and hands its text to `parse`.
template <typename Parse>
ReadResult readAndParse(const std::string& path, Parse parse) {
    Text text;
    const Outcome read = readWhole(path, text);
    if (read == Outcome::Parsed && !parse(text)) {
        return Outcome::NotParsed;
    }
    return read;
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
        if (readWhole(path, text) == Outcome::Parsed) {
            bytes.emplace(text.data(), text.length());
        }
    });
    return bytes;
}

ReadResult readJsonFile(const std::string& path, Json::Value& value) {
    return readAndParse(path, [&](const Text& text) {
        return JsonReader(false).parse(std::string(text.data(), text.length()), value);
    });
}

ReadResult readJsonFile(const std::string& path, Document& document) {
    return readAndParse(
        path, [&](const Text& text) { return document.read(text.data(), text.length()); });
}

#ifndef SYSCONFREADER_WITH_DOCUMENT
bool Document::read(const char* text, std::size_t length) {
    return JsonReader(false).parse(std::string(text, length), m_tree);
}
#endif

} // namespace Quarncommon::config
