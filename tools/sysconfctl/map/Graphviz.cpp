// SPDX-License-Identifier: Apache-2.0
#include "map/Graphviz.h"

#include "render/Output.h"
#include "render/Pipe.h"

#include <array>
#include <cerrno>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not every libc declares it

namespace sysconfctl {
namespace {

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
        if (size > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(size));
        } else if (size == 0 || errno != EINTR) {
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
    // dot writes nothing before it has read its whole input: no deadlock.
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
