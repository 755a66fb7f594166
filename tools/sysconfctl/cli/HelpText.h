// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace sysconfctl {

/// The commands, for a user who gives none.
std::string overview();

/// What follows the commands in the help: exit statuses and environment files.
std::string helpFooter();

/// Wraps help to `width` columns. Continuation lines start in the column of the descriptions.
std::string wrapHelp(const std::string& help, std::size_t width);

} // namespace sysconfctl
