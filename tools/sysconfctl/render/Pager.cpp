// SPDX-License-Identifier: Apache-2.0
#include "render/Pager.h"

#include "render/Output.h"
#include "render/Pipe.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ; // NOLINT(readability-redundant-declaration): not every libc declares it

namespace sysconfctl {
namespace {

struct IgnoredKeys {
    IgnoredKeys() : interrupt(std::signal(SIGINT, SIG_IGN)), quit(std::signal(SIGQUIT, SIG_IGN)) {}
    IgnoredKeys(const IgnoredKeys&) = delete;
    IgnoredKeys& operator=(const IgnoredKeys&) = delete;
    ~IgnoredKeys() {
        std::signal(SIGINT, interrupt);
        std::signal(SIGQUIT, quit);
    }
    void (*interrupt)(int);
    void (*quit)(int);
};

// NOLINTBEGIN(concurrency-mt-unsafe): the environment no longer changes.

/// The command line to run; empty for no pager. PAGER may contain options, so it is run by a shell.
std::vector<std::string> pagerWords() {
    const char* const pager = std::getenv("PAGER");
    const std::string command = pager != nullptr ? pager : "less";
    if (command.empty() || command == "cat") {
        return {};
    }
    return pager == nullptr ? std::vector{command} : std::vector<std::string>{"sh", "-c", command};
}

/// LESS is set so that less exits if the text fits and shows colours.
std::vector<std::string> pagerEnvironment() {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        variables.emplace_back(*variable);
    }
    if (std::getenv("LESS") == nullptr) {
        variables.emplace_back("LESS=FRX");
    }
    return variables;
}

// NOLINTEND(concurrency-mt-unsafe)

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// The signals ignored here get their default actions. Returns false if it cannot be started.
bool start(pid_t& process, std::vector<std::string> words, int input) {
    std::vector<std::string> variables = pagerEnvironment();
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t defaults;
    ::sigemptyset(&defaults);
    for (const int signal : {SIGPIPE, SIGINT, SIGQUIT}) {
        ::sigaddset(&defaults, signal);
    }
    ::posix_spawnattr_setsigdefault(&attributes, &defaults);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int error = ::posix_spawnp(&process, words.front().c_str(), &actions, &attributes,
                                     pointersTo(words).data(), pointersTo(variables).data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return error == 0;
}

} // namespace

bool showInPager(std::string_view text) {
    const std::vector<std::string> words = pagerWords();
    if (words.empty()) {
        return false;
    }
    const IgnoredKeys ignored;
    Pipe input;
    pid_t process = 0;
    if (!start(process, words, input.ends[0])) {
        return false;
    }
    input.close(0);
    writeAll(input.ends[1], text); // fails if the user leaves the pager early
    input.close(1);
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    constexpr int kCannotRun = 126; // status of a shell; 127 if there is no such program
    return !WIFEXITED(status) || WEXITSTATUS(status) < kCannotRun;
}

} // namespace sysconfctl
