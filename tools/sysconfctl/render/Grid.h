// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace sysconfctl {

using Cell = std::vector<std::string>;

struct Column {
    std::string title;
    /// The column with the highest number is left out first if rows are too wide; 0: never.
    int leftOut = 0;
    /// Wraps only after blanks, so that no address or id is cut.
    bool wraps = false;
};

/// Aligned by display width. If the rows are wider than `width`, lines of columns that allow it are
/// wrapped, then columns are left out and a last line names them.
std::string grid(std::vector<Column> columns, std::vector<std::vector<Cell>> rows,
                 std::size_t width, bool color = false);

} // namespace sysconfctl
