// SPDX-License-Identifier: Apache-2.0
#include "Suite.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

/// Names and answers, each followed by a NUL byte.
std::string flattened(const Answers& answers) {
    std::string text;
    for (const auto& [name, answer] : answers) {
        text.append(name).push_back('\0');
        text.append(answer).push_back('\0');
    }
    return text;
}

Answers parsed(std::string_view text) {
    const auto take = [&text] {
        const std::size_t end = text.find('\0');
        std::string part(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        return part;
    };
    Answers answers;
    while (!text.empty()) {
        std::string name = take();
        answers.emplace_back(std::move(name), take());
    }
    return answers;
}

[[noreturn]] void answerInto(int descriptor, const std::function<void(Suite&)>& fill) {
    int status = EXIT_FAILURE;
    try {
        Suite suite;
        fill(suite);
        const std::string text = flattened(suite.answers());
        std::string_view rest = text;
        while (!rest.empty()) {
            const ssize_t written = ::write(descriptor, rest.data(), rest.size());
            if (written < 0) {
                throw std::runtime_error("cannot write answers");
            }
            rest.remove_prefix(static_cast<std::size_t>(written));
        }
        status = EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    ::_exit(status);
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 65536> piece{};
    for (;;) {
        const ssize_t size = ::read(descriptor, piece.data(), piece.size());
        if (size == 0 || (size < 0 && errno != EINTR)) {
            return text;
        }
        text.append(piece.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    }
}

} // namespace

Answers Suite::answers() const {
    Answers answers;
    for (const Operation& operation : m_operations) {
        if (operation.answer) {
            answers.emplace_back(operation.name, operation.answer());
        }
    }
    return answers;
}

void Suite::registerAll(bool once) const {
    for (const Operation& operation : m_operations) {
        auto* timed = benchmark::RegisterBenchmark(operation.name.c_str(), operation.time);
        if (once) {
            timed->Iterations(1);
        }
    }
    // Registered last, so that the others run in a process with one thread.
    for (const Operation& operation : m_operations) {
        if (!operation.threads) {
            continue;
        }
        auto* timed =
            benchmark::RegisterBenchmark(("throughput/" + operation.name).c_str(),
                                         [time = operation.time](benchmark::State& state) {
                                             time(state);
                                             state.SetItemsProcessed(state.iterations());
                                         });
        timed->Threads(1)->Threads(2)->Threads(4)->UseRealTime();
        if (once) {
            timed->Iterations(1);
        }
    }
}

Answers answersApart(const std::function<void(Suite&)>& fill) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw std::runtime_error("cannot create a pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        answerInto(ends[1], fill);
    }
    ::close(ends[1]);
    const std::string text = readAll(ends[0]);
    ::close(ends[0]);
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != EXIT_SUCCESS) {
        throw std::runtime_error("the process that gives the answers has failed");
    }
    return parsed(text);
}

std::string difference(const Answers& one, const Answers& other) {
    constexpr std::size_t kShown = 200;
    if (one.size() != other.size()) {
        return "the variants have different numbers of operations";
    }
    for (std::size_t i = 0; i < one.size(); ++i) {
        if (one[i] != other[i]) {
            return one[i].first + " answers\n  " + one[i].second.substr(0, kShown) + "\nwhile " +
                   other[i].first + " answers\n  " + other[i].second.substr(0, kShown);
        }
    }
    return {};
}

} // namespace bench
