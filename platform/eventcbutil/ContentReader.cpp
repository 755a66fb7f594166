// SPDX-License-Identifier: Apache-2.0
#include "ContentReader.h"

#include "Thread.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

namespace eventcbutil {

struct ContentReader::Task {
    explicit Task(std::vector<std::string> toRead) : files(std::move(toRead)) {}

    void run() {
        std::optional<FileContents> read;
        try {
            read.emplace(files);
        } catch (const std::exception&) {
            // Out of memory or descriptors.
            read.reset();
        }
        const std::lock_guard<std::mutex> guard(mutex);
        contents = std::move(read);
        done = true;
        changed.notify_all();
    }

    const std::vector<std::string> files;
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<FileContents> contents;
    bool done = false;
};

std::optional<FileContents> ContentReader::read(const std::vector<std::string>& files) {
    if (m_task) {
        const std::lock_guard<std::mutex> guard(m_task->mutex);
        if (!m_task->done) {
            return std::nullopt;
        }
    }
    m_task.reset();
    try {
        auto task = std::make_shared<Task>(files);
        Thread::startDetached("sysconf-compare", [task] { task->run(); });
        m_task = std::move(task);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    std::unique_lock<std::mutex> guard(m_task->mutex);
    if (!m_task->changed.wait_for(guard, m_longest, [&] { return m_task->done; })) {
        return std::nullopt;
    }
    return std::exchange(m_task->contents, std::nullopt);
}

} // namespace eventcbutil
