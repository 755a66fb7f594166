#include "Resources.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <ostream>
#include <thread>

namespace fs = std::filesystem;

std::string textOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Resources resources() {
    // Counted to the end before any is opened, which would count itself.
    const auto entries = [](const char* folder) {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    };
    Resources found{entries("/proc/self/task"), entries("/proc/self/fd"), 0};
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fdinfo")) {
        std::ifstream info(entry.path());
        for (std::string line; std::getline(info, line);) {
            found.watches += line.starts_with("inotify ") ? 1U : 0U;
        }
    }
    return found;
}

Resources resourcesAtRest() {
    constexpr int kLooks = 100;
    Resources least = resources();
    for (int look = 0; look < kLooks; ++look) {
        const Resources now = resources();
        least.threads = std::min(least.threads, now.threads);
        least.descriptors = std::min(least.descriptors, now.descriptors);
        least.watches = std::min(least.watches, now.watches);
    }
    return least;
}

void PrintTo(const Resources& resources, std::ostream* stream) {
    *stream << resources.threads << " threads, " << resources.descriptors << " descriptors, "
            << resources.watches << " watches";
}

std::size_t serviceThreads() {
    std::size_t count = 0;
    for (const fs::directory_entry& task : fs::directory_iterator("/proc/self/task")) {
        // A thread may end while it is being read; that reads as no name.
        std::ifstream stream(task.path() / "comm");
        std::string name;
        count += std::getline(stream, name) && name == "sysconf-events" ? 1U : 0U;
    }
    return count;
}

void waitForServiceToEnd() {
    while (serviceThreads() != 0) {
        std::this_thread::yield();
    }
}
