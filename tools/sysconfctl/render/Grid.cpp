// SPDX-License-Identifier: Apache-2.0
#include "render/Grid.h"

#include "render/Color.h"
#include "render/Text.h"

#include <algorithm>
#include <numeric>

namespace sysconfctl {
namespace {

constexpr std::size_t kColumnGap = 2;

Cell wrappedCell(const std::string& line, std::size_t width) {
    const std::string indent = "  ";
    Cell lines = wrappedWords(line, width);
    if (lines.size() == 1) {
        return lines;
    }
    lines.resize(1);
    const std::string rest = line.substr(std::min(lines.front().size() + 1, line.size()));
    const std::size_t room = std::max(width, indent.size() + 1) - indent.size();
    for (const std::string& piece : wrappedWords(rest, room)) {
        lines.push_back(indent + piece);
    }
    return lines;
}

/// If the line may be wrapped, its minimum width.
std::size_t widestOf(const std::string& line, bool wraps) {
    std::size_t widest = 0;
    for (const std::string& piece : wraps ? wrappedCell(line, 1) : Cell{line}) {
        widest = std::max(widest, displayWidth(piece));
    }
    return widest;
}

std::vector<std::size_t> widthsOf(const std::vector<Column>& columns,
                                  const std::vector<std::vector<Cell>>& rows, bool least) {
    std::vector<std::size_t> widths;
    widths.reserve(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        std::size_t widest = displayWidth(columns[i].title);
        for (const auto& row : rows) {
            for (const std::string& line : row[i]) {
                widest = std::max(widest, widestOf(line, least && columns[i].wraps));
            }
        }
        widths.push_back(widest);
    }
    return widths;
}

std::size_t totalOf(const std::vector<std::size_t>& widths) {
    return std::accumulate(widths.begin(), widths.end(), kColumnGap * (widths.size() - 1));
}

std::vector<std::string> leaveOut(std::vector<Column>& columns,
                                  std::vector<std::vector<Cell>>& rows, std::size_t width) {
    std::vector<std::string> titles;
    while (totalOf(widthsOf(columns, rows, true)) > width) {
        const auto last = std::max_element(
            columns.begin(), columns.end(),
            [](const Column& left, const Column& right) { return left.leftOut < right.leftOut; });
        if (last->leftOut == 0) {
            break;
        }
        titles.push_back(last->title);
        for (auto& row : rows) {
            row.erase(row.begin() + (last - columns.begin()));
        }
        columns.erase(last);
    }
    return titles;
}

std::vector<std::size_t> columnWidths(const std::vector<Column>& columns,
                                      const std::vector<std::vector<Cell>>& rows,
                                      std::size_t width) {
    const std::vector<std::size_t> least = widthsOf(columns, rows, true);
    std::vector<std::size_t> widths = widthsOf(columns, rows, false);
    while (totalOf(widths) > std::max(width, totalOf(least))) {
        std::size_t widest = widths.size();
        for (std::size_t i = 0; i < widths.size(); ++i) {
            if (widths[i] > least[i] && (widest == widths.size() || widths[i] > widths[widest])) {
                widest = i;
            }
        }
        --widths[widest];
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

void appendRow(std::string& text, const std::vector<Cell>& row, const std::vector<Column>& columns,
               const std::vector<std::size_t>& widths) {
    std::vector<Cell> cells;
    std::size_t height = 1;
    for (std::size_t i = 0; i < row.size(); ++i) {
        Cell cell;
        for (const std::string& line : row[i]) {
            const Cell pieces = columns[i].wraps ? wrappedCell(line, widths[i]) : Cell{line};
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

std::string grid(std::vector<Column> columns, std::vector<std::vector<Cell>> rows,
                 std::size_t width, bool color) {
    const std::vector<std::string> leftOut = leaveOut(columns, rows, width);
    const std::vector<std::size_t> widths = columnWidths(columns, rows, width);
    std::vector<Cell> header;
    header.reserve(columns.size());
    for (const Column& column : columns) {
        header.push_back({column.title});
    }
    std::string text;
    appendRow(text, header, columns, widths);
    if (color) {
        text = paintedLines(text, Paint::Bold);
    }
    for (const auto& row : rows) {
        appendRow(text, row, columns, widths);
    }
    if (!leftOut.empty()) {
        const std::string note = "not shown for lack of width: " + joined(leftOut, ", ");
        text += joined(wrappedWords(note, width), "\n") + '\n';
    }
    return text;
}

} // namespace sysconfctl
