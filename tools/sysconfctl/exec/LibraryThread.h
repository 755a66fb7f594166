// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Variables.h"

#include <chrono>
#include <future>
#include <optional>
#include <semaphore>
#include <vector>

namespace sysconfctl {

/// Uses the library on a second thread, because a query can hang in the file system or in the event
/// library. Must not be destroyed, because the thread uses it until the process ends: see
/// makeUntilExit().
class LibraryThread {
public:
    /// @throws std::system_error if there is no free descriptor or no memory for the thread.
    LibraryThread();
    LibraryThread(const LibraryThread&) = delete;
    LibraryThread& operator=(const LibraryThread&) = delete;

    /// Starts to ask the queries, unless it is asking.
    void ask(const std::vector<const Query*>& asked, bool revealSecrets);
    bool isAsking() const { return m_result.valid(); }

    /// Readable after the answers have arrived.
    int descriptor() const { return m_descriptor; }
    /// Takes the answers if they have arrived, or throws what asking threw. Does not block.
    std::optional<std::vector<AnswerVariable>> answers();

    /// Destroys the library's instances, so that the subscription ends before the process.
    /// @return False if that has not ended within the time.
    bool destroyInstances(std::chrono::seconds limit);

private:
    using Task = std::packaged_task<std::vector<AnswerVariable>()>;

    void start(Task task);
    [[noreturn]] void work();

    int m_descriptor;
    Task m_task;
    std::binary_semaphore m_started{0};
    /// Valid while a task runs and until its result is taken.
    std::future<std::vector<AnswerVariable>> m_result;
};

} // namespace sysconfctl
