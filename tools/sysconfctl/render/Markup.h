// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace sysconfctl {

/// A text in XML or HTML, also within double quotes. Characters that XML 1.0 forbids, and bytes
/// that are no UTF-8, are escaped as on a terminal.
std::string markupText(std::string_view text);

/// The same for a text that is escaped for a terminal already.
std::string escapedMarkup(std::string_view text);

} // namespace sysconfctl
