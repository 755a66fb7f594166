// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <string>
#include <unistd.h>

/// How long the tests of this folder run, and what ends one that hangs.
namespace endurance {

/// How many rounds a test makes: `few` of them, or as many as SYSCONFREADER_ROUNDS says.
inline int rounds(int few) {
    const char* wanted = std::getenv("SYSCONFREADER_ROUNDS");
    return wanted != nullptr ? std::stoi(wanted) : few;
}

/// Ends the process when for a long time there has been no progress.
class Watchdog {
public:
    Watchdog() { progress(); }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog() { ::alarm(0); }

    // By a signal, which comes through whatever the threads are waiting for.
    void progress() { ::alarm(kPatience); }

private:
    static constexpr unsigned int kPatience = 120; // seconds
};

} // namespace endurance
