// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace eventcbutil {

/// The longest time from a change to its announcement, and the longest quiet time there is.
inline constexpr std::chrono::milliseconds kLongestWait{1000};

/// What the environment says about a subscription.
struct Settings {
    /// Absolute, not normalised.
    std::vector<std::string> files;
    std::chrono::milliseconds quietTime;
};

/// An application configuration that is not named is no file. A quiet time that is no number, or
/// none from 0 to 1000, is the default.
/// @throws std::filesystem::filesystem_error for a relative path without a working directory.
Settings settingsFromEnvironment();

} // namespace eventcbutil
