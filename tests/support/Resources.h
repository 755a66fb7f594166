// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <string>

std::string textOf(const std::filesystem::path& file);

/// How many threads this process has, descriptors, and kernel watches on folders.
struct Resources {
    std::size_t threads;
    std::size_t descriptors;
    std::size_t watches;

    bool operator==(const Resources&) const = default;
};
Resources resources();
/// The same once exactly that many threads of the event service are left, and none of them reads a
/// file. Returns only then.
Resources resourcesAtRest(std::size_t services = 1);
void PrintTo(const Resources& resources, std::ostream* stream);

/// Returns when no thread of the event library is left. Joining a thread is not enough for that:
/// the kernel lists it a moment longer.
void waitForServiceToEnd();
/// How many threads serve subscriptions, or did and have not ended yet.
std::size_t serviceThreads();
