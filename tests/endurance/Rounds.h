// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace endurance {

inline int rounds(int few) {
    const char* wanted = std::getenv("SYSCONFREADER_ROUNDS");
    return wanted != nullptr ? std::stoi(wanted) : few;
}

/// Sends SIGALRM, which also reaches threads that wait, after two minutes without progress.
class Watchdog {
public:
    Watchdog() { progress(); }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog() { ::alarm(0); }

    void progress() { ::alarm(kPatience); }

private:
    static constexpr unsigned int kPatience = 120; // seconds
};

} // namespace endurance
