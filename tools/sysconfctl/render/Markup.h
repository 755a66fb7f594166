// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace sysconfctl {

/// Also within double quotes. Characters that XML 1.0 forbids are escaped as on a terminal.
std::string markupText(std::string_view text);

/// Likewise, for a text that is already escaped for a terminal.
std::string escapedMarkup(std::string_view text);

} // namespace sysconfctl
