// SPDX-License-Identifier: Apache-2.0
#include "render/Output.h"

#include "render/Text.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

namespace sysconfctl {
namespace {

constexpr std::size_t kDefaultWidth = 100;
/// Narrower tables are not readable.
constexpr std::size_t kLeastWidth = 40;

/// Returns 0 after the whole text is written, else the error number.
int writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

std::size_t columnsOfEnvironment() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment no longer changes.
    const char* const value = std::getenv("COLUMNS");
    std::size_t columns = 0;
    if (value != nullptr) {
        const char* const end = value + std::strlen(value);
        const auto [stop, error] = std::from_chars(value, end, columns);
        return error == std::errc() && stop == end ? columns : 0;
    }
    return 0;
}

std::size_t columnsOfTerminal() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

} // namespace

void writeOutput(std::string_view text) {
    const int error = writeAll(STDOUT_FILENO, text);
    if (error != 0) {
        throw OutputError("cannot write the output: " + std::system_category().message(error));
    }
}

void writeOutputFile(const std::string& path, std::string_view text) {
    constexpr mode_t kMode = 0666; // without the bits of the umask
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kMode);
    int error = descriptor < 0 ? errno : writeAll(descriptor, text);
    if (descriptor >= 0 && ::close(descriptor) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        throw OutputError("cannot write " + shellWord(path) + ": " +
                          std::system_category().message(error));
    }
}

void writeErrors(std::string_view text) {
    writeAll(STDERR_FILENO, text);
}

bool outputIsTerminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

std::size_t outputWidth() {
    std::size_t columns = columnsOfEnvironment();
    if (columns == 0) {
        columns = columnsOfTerminal();
    }
    return columns == 0 ? kDefaultWidth : std::max(columns, kLeastWidth);
}

} // namespace sysconfctl
