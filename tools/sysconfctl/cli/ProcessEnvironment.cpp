// SPDX-License-Identifier: Apache-2.0
#include "cli/ProcessEnvironment.h"

#include "cli/FileBytes.h"
#include "cli/UsageError.h"
#include "deployment/CallerDirectory.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <system_error>

namespace sysconfctl {
namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 6> kVariables = {"APP_CONF_FILE", "PROCESS_INSTANCE_ID",
                                                        "APP_ROOT",      "TOLM_ROOT",
                                                        "NO_EM_CLIENT",  "NO_EM_CLIENT_CONSUMER"};

bool isProcessId(const std::string& text) {
    constexpr std::size_t kMostDigits = 10;
    return !text.empty() && text.size() <= kMostDigits && text.front() != '0' &&
           text.find_first_not_of("0123456789") == std::string::npos;
}

std::string procPath(const std::string& pid, const char* name) {
    return "/proc/" + pid + '/' + name;
}

[[noreturn]] void failWithoutEnvironment(const std::string& pid) {
    throw UsageError(fmt::format("--pid: process {} has no environment: it has ended, or it is a "
                                 "kernel thread",
                                 pid));
}

[[noreturn]] void fail(const std::string& pid, int error) {
    if (error == ENOENT || error == ESRCH) {
        std::error_code ignored;
        if (fs::exists("/proc/" + pid, ignored)) {
            failWithoutEnvironment(pid);
        }
        throw UsageError(fmt::format("--pid: there is no process {}", pid));
    }
    const bool refused = error == EACCES || error == EPERM;
    throw UsageError(fmt::format("--pid: process {} cannot be examined: {}{}", pid,
                                 std::system_category().message(error),
                                 refused ? "; run sysconfctl as its user or as root" : ""));
}

/// A process that has ended and a kernel thread have no program.
void verifyAlive(const std::string& pid) {
    std::error_code error;
    const fs::path program = fs::read_symlink(procPath(pid, "exe"), error);
    if (program.empty() && error == std::errc::no_such_file_or_directory) {
        fail(pid, ENOENT);
    }
}

/// In a process with another root directory, the same paths name other files.
void verifyRoot(const std::string& pid) {
    struct stat own {};
    struct stat its {};
    if (::stat("/", &own) == 0 && ::stat(procPath(pid, "root").c_str(), &its) == 0 &&
        (own.st_dev != its.st_dev || own.st_ino != its.st_ino)) {
        throw UsageError(fmt::format("--pid: process {} has another root directory, so its paths "
                                     "refer to other files; run sysconfctl there, for example with "
                                     "nsenter --target {} --all",
                                     pid, pid));
    }
}

std::string environOf(const std::string& pid) {
    try {
        return readBytes(procPath(pid, "environ"));
    } catch (const std::system_error& error) {
        fail(pid, error.code().value());
    }
}

} // namespace

std::map<std::string, std::string> libraryVariables(const std::string& environ) {
    std::map<std::string, std::string> variables;
    std::string_view rest = environ;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\0'), rest.size());
        const std::string_view entry = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const std::size_t equals = entry.find('=');
        const std::string_view name = entry.substr(0, equals);
        if (equals != std::string_view::npos &&
            std::find(kVariables.begin(), kVariables.end(), name) != kVariables.end()) {
            variables.emplace(name, entry.substr(equals + 1));
        }
    }
    return variables;
}

// NOLINTBEGIN(concurrency-mt-unsafe): the library is not in use yet, so there is only one thread.

void applyProcess(const std::string& pid) {
    if (!isProcessId(pid)) {
        throw UsageError(fmt::format("--pid: {} is not the id of a process", shellWord(pid)));
    }
    const std::map<std::string, std::string> variables = libraryVariables(environOf(pid));
    verifyAlive(pid);
    verifyRoot(pid);
    if (const int error = enterDirectory(procPath(pid, "cwd"))) {
        fail(pid, error);
    }
    for (const std::string_view name : kVariables) {
        ::unsetenv(name.data());
    }
    for (const auto& [name, value] : variables) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
}

// NOLINTEND(concurrency-mt-unsafe)

std::vector<ConfiguredProcess> configuredProcesses() {
    std::vector<ConfiguredProcess> found;
    std::error_code error;
    for (auto entry = fs::directory_iterator("/proc", error); entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string pid = entry->path().filename();
        if (!isProcessId(pid)) {
            continue;
        }
        try {
            const auto variables = libraryVariables(readBytes(procPath(pid, "environ")));
            const auto instance = variables.find("PROCESS_INSTANCE_ID");
            if (variables.contains("APP_CONF_FILE")) {
                found.push_back({pid, instance != variables.end() ? instance->second : ""});
            }
        } catch (const std::system_error&) {
            continue; // of another user, or it has ended
        }
    }
    return found;
}

} // namespace sysconfctl
