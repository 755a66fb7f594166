// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileContents.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace eventcbutil {

/// Reads files for a comparison without being delayed by a file that hangs, as one on a network
/// file system may. Each read has a short-lived thread. A read that hangs keeps its thread; while
/// it does, no further one is started.
class ContentReader {
public:
    /// How long a read may take.
    static constexpr std::chrono::milliseconds kLongest{500};

    /// @return Nothing if a file hangs, or if memory or threads are used up.
    std::optional<FileContents> read(const std::vector<std::string>& files);

private:
    struct Task;

    /// The read that hangs, or the last one.
    std::shared_ptr<Task> m_task;
};

} // namespace eventcbutil
