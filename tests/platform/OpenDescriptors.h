// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <filesystem>
#include <set>
#include <string>

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
