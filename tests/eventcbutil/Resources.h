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
/// Beside what the event library's thread holds for a moment while it reads a file.
Resources resourcesAtRest();
void PrintTo(const Resources& resources, std::ostream* stream);

/// Returns when no thread of the event service is left. Joining a thread is not enough for that:
/// the kernel counts it a moment longer.
void waitForServiceToEnd();
/// How many there are.
std::size_t serviceThreads();
