// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace eventcbutil {

inline constexpr std::chrono::milliseconds kLongestWait{1000};

struct Settings {
    /// Absolute, not normalised.
    std::vector<std::string> files;
    std::chrono::milliseconds quietTime;
    /// How long a comparison may read the files.
    std::chrono::milliseconds longestRead{500};
};

/// Ignores an unset APP_CONF_FILE, and a quiet time that is not a number from 0 to 1000.
/// @throws std::filesystem::filesystem_error for a relative path without a working directory.
Settings settingsFromEnvironment();

} // namespace eventcbutil
