// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <string>

std::string textOf(const std::filesystem::path& file);

struct Resources {
    std::size_t threads;
    std::size_t descriptors;
    std::size_t watches;

    bool operator==(const Resources&) const = default;
};
Resources resources();
/// Waits until so many threads of the event service exist and none reads a file.
Resources resourcesAtRest(std::size_t services = 1);
void PrintTo(const Resources& resources, std::ostream* stream);

/// The kernel lists a joined thread for a moment longer.
void waitForServiceToEnd();
/// Threads that serve subscriptions or are about to end.
std::size_t serviceThreads();
