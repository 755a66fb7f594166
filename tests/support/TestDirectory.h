// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>

namespace support {

inline constexpr const char* kTestDirectoryVariable = "SYSCONF_TEST_DIRECTORY";

/// Empty at the start, removed after the end, first in the dynamic loader's search path.
inline std::filesystem::path testDirectory() {
    return std::getenv(kTestDirectoryVariable);
}

} // namespace support
