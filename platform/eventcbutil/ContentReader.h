// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileContents.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace eventcbutil {

/// Reads files for a comparison, without waiting for a file that hangs on a network file system.
/// Each read has a short-lived thread. While a read hangs, no further one is started.
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
