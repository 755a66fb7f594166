// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace sysconfctl {

/// Unset if `dot` is not installed. Throws std::runtime_error if `dot` fails.
std::optional<std::string> drawWithGraphviz(const std::string& text);

} // namespace sysconfctl
