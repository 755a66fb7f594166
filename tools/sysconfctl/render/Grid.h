#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace sysconfctl {

/// The lines of one cell, escaped.
using Cell = std::vector<std::string>;

/// Columns under titles, aligned by what a terminal shows. What does not fit into `width` columns
/// is wrapped, the widest columns first.
/// @param color Whether the titles are bold.
std::string grid(const std::vector<std::string>& titles, const std::vector<std::vector<Cell>>& rows,
                 std::size_t width, bool color = false);

} // namespace sysconfctl
