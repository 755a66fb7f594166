// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace sysconfctl {

/// The shell command in PAGER, else less. Returns when the user leaves the pager, or false if there
/// is none: PAGER is empty or "cat", or the program is not installed.
bool showInPager(std::string_view text);

} // namespace sysconfctl
