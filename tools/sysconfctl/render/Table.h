// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Reply.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// If it is wrapped, its continuation lines are indented.
struct TableLine {
    std::string text;
    std::size_t indent = 0;
};

struct TableRow {
    std::string_view section;
    std::string label;
    std::vector<TableLine> lines;
};

/// Two columns with section titles, aligned by display width.
std::string table(const std::vector<TableRow>& rows, std::size_t width, bool color = false);

/// JSON is summarised: other formats have all of it, and other rows show its fields.
TableRow tableRow(const Reply& reply);

std::string tableOf(const std::vector<Reply>& replies, std::size_t width, bool color = false);

} // namespace sysconfctl
