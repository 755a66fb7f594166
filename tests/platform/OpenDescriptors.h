// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WatchFaults.h"

#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

inline std::set<int> openDescriptors() {
    std::set<int> numbers;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        numbers.insert(std::stoi(entry.path().filename()));
    }
    // The descriptor of the listing is closed now.
    std::erase_if(numbers, [](int number) { return ::fcntl(number, F_GETFD) < 0; });
    return numbers;
}

inline std::set<int> openedSince(const std::set<int>& before) {
    std::set<int> numbers = openDescriptors();
    std::erase_if(numbers, [&](int number) { return before.contains(number); });
    return numbers;
}

/// The event library's: a pipe, an inotify instance, the table of mounts.
constexpr std::size_t kOwnDescriptors = 4;

/// Waits until the event library has closed the file that a comparison reads.
inline std::set<int> ownDescriptors(const HeldInPoll& /*service*/, const std::set<int>& others) {
    std::set<int> numbers = openedSince(others);
    while (numbers.size() > kOwnDescriptors) {
        std::this_thread::yield();
        numbers = openedSince(others);
    }
    return numbers;
}
