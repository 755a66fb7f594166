// SPDX-License-Identifier: Apache-2.0
#include "render/Grid.h"

#include "render/Color.h"
#include "render/Text.h"

#include <algorithm>
#include <numeric>

namespace sysconfctl {
namespace {

constexpr std::size_t kColumnGap = 2;

std::vector<std::size_t> columnWidths(const std::vector<std::string>& titles,
                                      const std::vector<std::vector<Cell>>& rows,
                                      std::size_t width) {
    std::vector<std::size_t> widths;
    widths.reserve(titles.size());
    for (const std::string& title : titles) {
        widths.push_back(displayWidth(title));
    }
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            for (const std::string& line : row[i]) {
                widths[i] = std::max(widths[i], displayWidth(line));
            }
        }
    }
    const std::size_t gaps = kColumnGap * (titles.size() - 1);
    const std::size_t room = std::max(width, gaps + titles.size()) - gaps;
    while (std::accumulate(widths.begin(), widths.end(), std::size_t{0}) > room) {
        --*std::max_element(widths.begin(), widths.end());
    }
    return widths;
}

void appendLine(std::string& text, const std::vector<Cell>& cells, std::size_t number,
                const std::vector<std::size_t>& widths) {
    std::string line;
    std::size_t column = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (number < cells[i].size() && !cells[i][number].empty()) {
            const std::size_t used = displayWidth(line);
            line += std::string(column - std::min(column, used), ' ') + cells[i][number];
        }
        column += widths[i] + kColumnGap;
    }
    text += line + '\n';
}

void appendRow(std::string& text, const std::vector<Cell>& row,
               const std::vector<std::size_t>& widths) {
    std::vector<Cell> cells;
    std::size_t height = 1;
    for (std::size_t i = 0; i < row.size(); ++i) {
        Cell cell;
        for (const std::string& line : row[i]) {
            const std::vector<std::string> pieces = wrapped(line, widths[i]);
            cell.insert(cell.end(), pieces.begin(), pieces.end());
        }
        height = std::max(height, cell.size());
        cells.push_back(std::move(cell));
    }
    for (std::size_t i = 0; i < height; ++i) {
        appendLine(text, cells, i, widths);
    }
}

} // namespace

std::string grid(const std::vector<std::string>& titles, const std::vector<std::vector<Cell>>& rows,
                 std::size_t width, bool color) {
    const std::vector<std::size_t> widths = columnWidths(titles, rows, width);
    std::vector<Cell> header;
    header.reserve(titles.size());
    for (const std::string& title : titles) {
        header.push_back({title});
    }
    std::string text;
    appendRow(text, header, widths);
    if (color) {
        text = paintedLines(text, Paint::Bold);
    }
    for (const auto& row : rows) {
        appendRow(text, row, widths);
    }
    return text;
}

} // namespace sysconfctl
