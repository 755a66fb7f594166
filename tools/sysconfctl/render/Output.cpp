// SPDX-License-Identifier: Apache-2.0
#include "render/Output.h"

#include "render/Pager.h"
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
constexpr std::size_t kLeastWidth = 40;

bool pagerAllowed = false;

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

/// Zeros if there is no terminal.
winsize terminalSize() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size : winsize{};
}

bool isLongerThanTerminal(std::string_view text) {
    const winsize size = terminalSize();
    if (size.ws_row == 0 || size.ws_col == 0) {
        return false;
    }
    std::size_t rows = 1; // of the prompt
    while (!text.empty() && rows <= size.ws_row) {
        const std::string_view line = text.substr(0, text.find('\n'));
        rows += 1 + (std::max<std::size_t>(displayWidth(line), 1) - 1) / size.ws_col;
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return rows > size.ws_row;
}

} // namespace

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

void allowPager() {
    pagerAllowed = true;
}

void writeOutput(std::string_view text) {
    if (pagerAllowed && outputIsTerminal() && isLongerThanTerminal(text) && showInPager(text)) {
        return;
    }
    const int error = writeAll(STDOUT_FILENO, text);
    if (error == EPIPE) {
        throw OutputClosed("the reader of the output has closed it");
    }
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
        columns = terminalSize().ws_col;
    }
    return columns == 0 ? kDefaultWidth : std::max(columns, kLeastWidth);
}

} // namespace sysconfctl
