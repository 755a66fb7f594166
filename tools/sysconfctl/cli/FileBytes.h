// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sysconfctl {

/// Reads the whole file, of whatever type.
/// @throws std::system_error if it cannot be read.
std::string readBytes(const std::string& path);

} // namespace sysconfctl
