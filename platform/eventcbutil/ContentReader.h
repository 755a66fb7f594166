// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileContents.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace eventcbutil {

/// Reads files with a time limit, because a read may hang; then no other one is started.
class ContentReader {
public:
    explicit ContentReader(std::chrono::milliseconds longest) : m_longest(longest) {}

    /// @return Nothing if a read hangs, or if there is no memory or no thread.
    std::optional<FileContents> read(const std::vector<std::string>& files);

private:
    struct Task;

    std::chrono::milliseconds m_longest;
    /// The read that hangs, or the last one.
    std::shared_ptr<Task> m_task;
};

} // namespace eventcbutil
