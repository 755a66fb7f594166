// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace sysconfctl {

/// The escaped lines of one cell.
using Cell = std::vector<std::string>;

/// Renders columns with titles, aligned by display width. If the rows are wider than `width`, the
/// widest columns are narrowed and their lines wrapped.
/// @param color Makes the titles bold.
std::string grid(const std::vector<std::string>& titles, const std::vector<std::vector<Cell>>& rows,
                 std::size_t width, bool color = false);

} // namespace sysconfctl
