// SPDX-License-Identifier: Apache-2.0
#include "map/Graphviz.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not every libc declares it

namespace sysconfctl {
namespace {

/// Both ends of a pipe; the destructor closes what is still open.
struct Pipe {
    Pipe() {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::system_category(), "pipe");
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(0);
        close(1);
    }
    void close(std::size_t end) {
        if (ends.at(end) >= 0) {
            ::close(ends.at(end));
            ends.at(end) = -1;
        }
    }
    std::array<int, 2> ends{-1, -1};
};

/// `dot` writes nothing before it has read its whole input, so writing first cannot deadlock.
void writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return; // the exit status of dot reports the failure
        }
    }
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return text;
        }
    }
}

} // namespace

std::optional<std::string> drawWithGraphviz(const std::string& text) {
    Pipe input;
    Pipe output;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.ends[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output.ends[1], STDOUT_FILENO);
    std::string name = "dot";
    std::string option = "-Tsvg";
    std::array<char*, 3> words = {name.data(), option.data(), nullptr};
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, "dot", &actions, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error == ENOENT) {
        return std::nullopt;
    }
    if (error != 0) {
        throw std::system_error(error, std::system_category(), "cannot run dot");
    }
    input.close(0);
    output.close(1);
    writeAll(input.ends[1], text);
    input.close(1);
    std::string picture = readAll(output.ends[0]);
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("dot failed to draw the picture");
    }
    return picture;
}

} // namespace sysconfctl
