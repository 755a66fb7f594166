// SPDX-License-Identifier: Apache-2.0
#include "render/Table.h"

#include "render/Color.h"
#include "render/Json.h"
#include "render/Plain.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

constexpr std::size_t kGap = 2;

constexpr std::size_t kLabelIndent = 2;

using Lines = std::vector<std::string>;
using TableLines = std::vector<TableLine>;

std::string padded(const std::string& text, std::size_t width) {
    const std::size_t used = displayWidth(text);
    return used < width ? text + std::string(width - used, ' ') : text;
}

std::string joinedItems(const Lines& items) {
    Lines shown;
    for (const std::string& item : items) {
        shown.push_back(escaped(item));
    }
    return joined(shown, ", ");
}

std::string summary(const Json::Value& value) {
    if (value.isArray()) {
        return counted(value.size(), "entry", "entries");
    }
    if (value.isObject()) {
        const Lines names = value.getMemberNames();
        return names.empty() ? std::string(kEmptyText) : joinedItems(names);
    }
    return compactJson(value);
}

TableLines keyed(const Groups& groups) {
    std::size_t width = 0;
    for (const auto& group : groups) {
        width = std::max(width, displayWidth(escaped(group.first)));
    }
    TableLines lines;
    for (const auto& [key, texts] : groups) {
        lines.push_back({padded(escaped(key), width + kGap) + joinedItems(texts), width + kGap});
    }
    return lines;
}

TableLines linesOf(const Answer& answer) {
    TableLines lines =
        std::visit(Overloaded{
                       [](const NoAnswer&) { return TableLines{{std::string(kNoAnswerText)}}; },
                       [](const std::string& text) { return TableLines{{escaped(text)}}; },
                       [](int number) { return TableLines{{std::to_string(number)}}; },
                       [](const List& list) {
                           return list.empty() ? TableLines{} : TableLines{{joinedItems(list)}};
                       },
                       [](const Map& map) {
                           Groups groups;
                           for (const auto& [key, text] : map) {
                               groups.push_back({key, {text}});
                           }
                           return keyed(groups);
                       },
                       [](const Groups& groups) { return keyed(groups); },
                       [](const Json::Value& value) { return TableLines{{summary(value)}}; },
                   },
                   answer.value);
    return lines.empty() ? TableLines{{std::string(kEmptyText)}} : lines;
}

Lines wrappedLine(const TableLine& line, std::size_t width) {
    const std::size_t indent = line.indent < width / 2 ? line.indent : 0;
    if (displayWidth(line.text) <= width) {
        return {line.text};
    }
    Lines lines = wrapped(line.text, width);
    const std::string rest = line.text.substr(lines.front().size());
    lines.resize(1);
    const std::size_t blank = rest.starts_with(' ') ? 1 : 0;
    for (const std::string& next : wrapped(rest.substr(blank), width - indent)) {
        lines.push_back(std::string(indent, ' ') + next);
    }
    return lines;
}

Lines wrappedAll(const TableLines& lines, std::size_t width) {
    Lines result;
    for (const TableLine& line : lines) {
        const Lines pieces = wrappedLine(line, width);
        result.insert(result.end(), pieces.begin(), pieces.end());
    }
    return result;
}

std::string withoutTrailingBlanks(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

/// The first column is as wide as its widest label, but less than half of the table.
std::size_t labelWidth(const std::vector<TableRow>& rows, std::size_t width) {
    std::size_t widest = 0;
    for (const TableRow& row : rows) {
        widest = std::max(widest, displayWidth(row.label));
    }
    return std::min(widest, width * 9 / 20);
}

void appendRow(std::string& text, const TableRow& row, std::size_t first, std::size_t second,
               bool color) {
    const Lines label = wrappedLine({row.label, kLabelIndent}, first);
    const Lines lines = wrappedAll(row.lines, second);
    for (std::size_t i = 0; i < std::max(label.size(), lines.size()); ++i) {
        const std::string left = i < label.size() ? label[i] : "";
        const std::string gap = padded(left, first + kGap).substr(left.size());
        text += "  " + painted(left, Paint::Cyan, color) +
                withoutTrailingBlanks(gap + (i < lines.size() ? lines[i] : "")) + '\n';
    }
}

} // namespace

std::string table(const std::vector<TableRow>& rows, std::size_t width, bool color) {
    const std::size_t first = labelWidth(rows, width);
    const std::size_t second = width - std::min(width - 1, first + 2 * kGap);
    std::string text;
    std::string_view section;
    for (const TableRow& row : rows) {
        if (row.section != section) {
            section = row.section;
            text += text.empty() ? "" : "\n";
            text += painted(std::string(section), Paint::Bold, color) + '\n';
        }
        appendRow(text, row, first, second, color);
    }
    return text;
}

TableRow tableRow(const Reply& reply) {
    return {reply.query->section, reply.label(),
            reply.error ? TableLines{{errorText(*reply.error)}} : linesOf(reply.answer)};
}

std::string tableOf(const std::vector<Reply>& replies, std::size_t width, bool color) {
    std::vector<TableRow> rows;
    rows.reserve(replies.size());
    for (const Reply& reply : replies) {
        rows.push_back(tableRow(reply));
    }
    return table(rows, width, color);
}

} // namespace sysconfctl
