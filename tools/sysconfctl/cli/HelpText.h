// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace sysconfctl {

std::string overview();

std::string helpFooter();

/// Continuation lines start in the column of the descriptions.
std::string wrapHelp(const std::string& help, std::size_t width);

} // namespace sysconfctl
