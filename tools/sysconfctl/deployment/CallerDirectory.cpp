// SPDX-License-Identifier: Apache-2.0
#include "deployment/CallerDirectory.h"

#include <cerrno>
#include <optional>
#include <system_error>
#include <unistd.h>

namespace sysconfctl {
namespace {

namespace fs = std::filesystem;

std::optional<fs::path> caller;

fs::path workingDirectory() {
    std::error_code error;
    return fs::current_path(error);
}

std::string absolute(const fs::path& directory, const std::string& path) {
    return path.empty() || path.front() == '/' ? path : (directory / path).string();
}

} // namespace

int enterDirectory(const std::string& path) {
    const fs::path before = callerDirectory();
    if (::chdir(path.c_str()) != 0) {
        return errno;
    }
    caller = before;
    return 0;
}

void returnToCallerDirectory() {
    if (caller && !caller->empty()) {
        std::error_code error;
        fs::current_path(*caller, error);
        caller.reset();
    }
}

fs::path callerDirectory() {
    return caller ? *caller : workingDirectory();
}

std::string pathForCaller(const std::string& path) {
    return caller ? absolute(workingDirectory(), path) : path;
}

std::string pathOfCaller(const std::string& path) {
    return absolute(callerDirectory(), path);
}

} // namespace sysconfctl
