#include "sysconfreader/ConfigFiles.h"

#include "sysconfreader/Guards.h"

#include <JsonReader.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quarncommon::config {

namespace {

/// An open file. While it is open its thread is not cancelled: closing is a cancellation point, and
/// to unwind from there would end the process.
class Descriptor {
public:
    explicit Descriptor(const std::string& path) {
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState);
        // Without waiting, should the path be a pipe: callers hold locks while they read. Only a
        // file that is leased to another process is waited for.
        constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY;
        m_descriptor = ::open(path.c_str(), kFlags | O_NONBLOCK);
        if (m_descriptor < 0 && errno == EWOULDBLOCK) {
            m_descriptor = ::open(path.c_str(), kFlags);
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

/// Reads from the start to the end. `size` is a hint only: files of /proc have none.
bool readOnce(int descriptor, std::size_t size, std::string& text) {
    // One byte more than the file has, so that its end shows in the read that follows the last
    // byte without growing the text.
    constexpr std::size_t kSmallest = 4096;
    text.resize(std::max(size + 1, kSmallest));
    std::size_t length = 0;
    for (;;) {
        const ssize_t count = ::pread(descriptor, text.data() + length, text.size() - length,
                                      static_cast<off_t>(length));
        if (count == 0) {
            text.resize(length);
            return true;
        }
        if (count > 0) {
            length += static_cast<std::size_t>(count);
            if (length == text.size()) {
                text.resize(2 * length);
            }
        } else if (errno != EINTR) {
            return false;
        }
    }
}

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
bool readWhole(const std::string& path, std::string& text) {
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
        if (!readOnce(file.get(), size, text) || ::fstat(file.get(), &after) != 0) {
            return false;
        }
        if (before.st_size != after.st_size || !sameTime(before.st_mtim, after.st_mtim)) {
            continue;
        }
        std::string again;
        if (!writtenLately(before) || (readOnce(file.get(), size, again) && again == text)) {
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

bool readJsonFile(const std::string& path, Json::Value& value) {
    bool parsed = false;
    completes([&] {
        std::string text;
        parsed = readWhole(path, text) && JsonReader(false).parse(text, value);
    });
    return parsed;
}

} // namespace Quarncommon::config
