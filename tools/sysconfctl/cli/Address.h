// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace sysconfctl {

/// Returns the address as the host lists its own; unset if the text is none.
std::optional<std::string> canonicalAddress(const std::string& text);

/// Returns it as the host lists its own: IPv6 in its shortest form, lower case, no scope.
/// @throws UsageError with the nearest address in the node lists of the environment.
std::string parseAddress(const std::string& text);

} // namespace sysconfctl
