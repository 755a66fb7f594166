// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace sysconfctl {

/// The program that `exec` runs, started in the process group of this process: keys on the terminal
/// reach both, and other programs of a pipeline remain in the foreground with them.
class Program {
public:
    /// @param words The program, which is searched for in `PATH`, and its arguments.
    /// @param mask The blocked signals of the program.
    Program(std::vector<std::string> words, const sigset_t& mask);

    /// Starts it, while it does not run. It inherits the descriptors that this process inherited.
    /// @return 0 or the error number.
    int start(std::vector<std::string> environment);

    /// If the program runs. It is not reaped elsewhere, so the id belongs to no other process.
    void send(int signal) const;

    /// Whether it runs and is not stopped.
    bool isActive() const { return m_process > 0 && !m_stopped; }

    /// Whether it is in the process group of this process. A program can leave it.
    bool isInOwnGroup() const;

    /// Notices stops, and reaps every child that has ended, for the init process of a namespace
    /// also orphans.
    /// @return The status of the program if it was among them.
    std::optional<int> reap();

private:
    std::vector<std::string> m_words;
    sigset_t m_mask;
    pid_t m_process = -1;
    bool m_stopped = false;
};

} // namespace sysconfctl
