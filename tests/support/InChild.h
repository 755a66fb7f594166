// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

inline constexpr unsigned int kPatience = 60; // seconds

/// Runs `work` in a forked child. Returns its exit status, or the negative number of the signal
/// that ended it; SIGALRM means that it hung.
inline int inChild(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(kPatience);
        ::_exit(work());
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace support
