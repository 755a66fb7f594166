// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace sysconfctl {

/// Shows a text in the pager: the shell command in PAGER, else less. LESS is "FRX" unless it is
/// set. Returns when the user leaves the pager.
/// @return False if there is no pager: PAGER is empty or "cat", or the program is not installed.
///   Nothing is shown then.
bool showInPager(std::string_view text);

} // namespace sysconfctl
