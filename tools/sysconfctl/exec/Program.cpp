// SPDX-License-Identifier: Apache-2.0
#include "exec/Program.h"

#include "exec/PassedSignals.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace sysconfctl {
namespace {

/// The texts as C has them, ended by null.
std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    all.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        all.push_back(text.data());
    }
    all.push_back(nullptr);
    return all;
}

/// What differs from this process: signals.
class Attributes {
public:
    explicit Attributes(const sigset_t& mask) {
        sigset_t defaults;
        ::sigemptyset(&defaults);
        if (!inheritedPipeSignalIgnored()) {
            ::sigaddset(&defaults, SIGPIPE);
        }
        ::posix_spawnattr_init(&m_attributes);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        ::posix_spawnattr_setsigmask(&m_attributes, &mask);
        ::posix_spawnattr_setsigdefault(&m_attributes, &defaults);
    }
    ~Attributes() { ::posix_spawnattr_destroy(&m_attributes); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const posix_spawnattr_t* get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

} // namespace

Program::Program(std::vector<std::string> words, const sigset_t& mask)
    : m_words(std::move(words)), m_mask(mask) {}

int Program::start(std::vector<std::string> environment) {
    const Attributes attributes(m_mask);
    const int error = ::posix_spawnp(&m_process, m_words.front().c_str(), nullptr, attributes.get(),
                                     pointers(m_words).data(), pointers(environment).data());
    if (error != 0) {
        m_process = -1;
    }
    m_stopped = false;
    return error;
}

void Program::send(int signal) const {
    if (m_process > 0) {
        ::kill(m_process, signal);
    }
}

bool Program::isInOwnGroup() const {
    return m_process > 0 && ::getpgid(m_process) == ::getpgrp();
}

std::optional<int> Program::reap() {
    std::optional<int> ended;
    int status = 0;
    constexpr int kChanges = WNOHANG | WUNTRACED | WCONTINUED;
    for (pid_t child = 0; (child = ::waitpid(-1, &status, kChanges)) > 0;) {
        if (child != m_process) {
            continue;
        }
        m_stopped = WIFSTOPPED(status);
        if (!m_stopped && !WIFCONTINUED(status)) {
            m_process = -1;
            ended = status;
        }
    }
    return ended;
}

} // namespace sysconfctl
