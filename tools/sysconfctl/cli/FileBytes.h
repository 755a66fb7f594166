// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sysconfctl {

/// Reads the whole file, which need not be a regular file.
/// @throws std::system_error if it cannot be read.
std::string readBytes(const std::string& path);

} // namespace sysconfctl
