#pragma once

#include "query/Reply.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// One line of a cell, escaped, before it is wrapped; what does not fit goes on below, indented.
struct TableLine {
    std::string text;
    std::size_t indent = 0;
};

/// A label and its cell, which has at least one line.
struct TableRow {
    std::string_view section;
    std::string label;
    std::vector<TableLine> lines;
};

/// Two columns under section titles, aligned by what a terminal shows, no line wider than `width`.
/// @param color Whether the titles are bold.
std::string table(const std::vector<TableRow>& rows, std::size_t width, bool color = false);

/// An answer for human readers. JSON is shown by what it consists of only: it is whole in the other
/// formats, and field by field in the rows beside it.
TableRow tableRow(const Reply& reply);

/// The rows of all those replies.
std::string tableOf(const std::vector<Reply>& replies, std::size_t width, bool color = false);

} // namespace sysconfctl
