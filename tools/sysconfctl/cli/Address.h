// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace sysconfctl {

/// In the form in which the host lists its own; unset if the text is no address.
std::optional<std::string> canonicalAddress(const std::string& text);

/// As the host lists its own: an IPv6 address in its shortest form, lower case, no scope.
/// @throws UsageError with the nearest address in the node lists of the environment.
std::string parseAddress(const std::string& text);

} // namespace sysconfctl
