// SPDX-License-Identifier: Apache-2.0
#include "support/Resources.h"

#include <fstream>
#include <iterator>
#include <ostream>
#include <string_view>
#include <thread>

namespace fs = std::filesystem;

std::string textOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Resources resources() {
    // Counted before any file is opened, because an open file has an entry too.
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

void PrintTo(const Resources& resources, std::ostream* stream) {
    *stream << resources.threads << " threads, " << resources.descriptors << " descriptors, "
            << resources.watches << " watches";
}

namespace {

std::size_t threadsNamed(std::string_view beginning) {
    std::size_t number = 0;
    for (const fs::directory_entry& task : fs::directory_iterator("/proc/self/task")) {
        // If a thread has just ended, there is no name to read.
        std::ifstream stream(task.path() / "comm");
        std::string name;
        number += std::getline(stream, name) && name.starts_with(beginning) ? 1U : 0U;
    }
    return number;
}

} // namespace

std::size_t serviceThreads() {
    return threadsNamed("sysconf-events");
}

Resources resourcesAtRest(std::size_t services) {
    // Two equal results without another thread in between: no file was open while they were taken.
    for (;;) {
        const Resources now = resources();
        if (threadsNamed("sysconf-") == services && now == resources()) {
            return now;
        }
        std::this_thread::yield();
    }
}

void waitForServiceToEnd() {
    while (threadsNamed("sysconf-") != 0) {
        std::this_thread::yield();
    }
}
