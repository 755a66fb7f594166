// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Reply.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// An escaped line of a cell. If it is wrapped, its continuation lines are indented.
struct TableLine {
    std::string text;
    std::size_t indent = 0;
};

/// A label and a cell with at least one line.
struct TableRow {
    std::string_view section;
    std::string label;
    std::vector<TableLine> lines;
};

/// Renders two columns with section titles, aligned by display width, no line wider than `width`.
/// @param color Makes the titles bold and colours the labels.
std::string table(const std::vector<TableRow>& rows, std::size_t width, bool color = false);

/// The row of a reply. JSON is summarised: other formats have all of it, and other rows show its
/// fields.
TableRow tableRow(const Reply& reply);

/// The table of the replies.
std::string tableOf(const std::vector<Reply>& replies, std::size_t width, bool color = false);

} // namespace sysconfctl
