// SPDX-License-Identifier: Apache-2.0
#include "diff/Comparison.h"

#include "render/Color.h"
#include "render/Json.h"
#include "render/Masking.h"
#include "render/Plain.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace sysconfctl {
namespace {

constexpr std::size_t kIndent = 4;
constexpr std::size_t kGap = 2;

/// Adds a line for each value of `mine` that differs from that of `other`: "0.accessPort: 5432".
void appendDiffering(List& lines, const Json::Value& mine, const Json::Value& other,
                     const std::string& path) {
    if (mine == other) {
        return;
    }
    const auto inner = [&](const std::string& step) {
        return path.empty() ? step : path + '.' + step;
    };
    if (mine.isObject() && other.isObject()) {
        const List names = mine.getMemberNames();
        const List others = other.getMemberNames();
        std::set<std::string> all(names.begin(), names.end());
        all.insert(others.begin(), others.end());
        for (const std::string& name : all) {
            if (!mine.isMember(name)) {
                lines.push_back(escaped(inner(name)) + ": (absent)");
            } else if (!other.isMember(name)) {
                lines.push_back(escaped(inner(name)) + ": " + compactJson(mine[name]));
            } else {
                appendDiffering(lines, mine[name], other[name], inner(name));
            }
        }
        return;
    }
    if (mine.isArray() && other.isArray() && mine.size() == other.size()) {
        for (Json::ArrayIndex i = 0; i < mine.size(); ++i) {
            appendDiffering(lines, mine[i], other[i], inner(std::to_string(i)));
        }
        return;
    }
    lines.push_back((path.empty() ? "" : escaped(path) + ": ") + compactJson(mine));
}

List answerLines(const Reply& mine, const Reply& other) {
    const auto* const left = std::get_if<Json::Value>(&mine.answer.value);
    const auto* const right = std::get_if<Json::Value>(&other.answer.value);
    List lines;
    if (left != nullptr && right != nullptr) {
        appendDiffering(lines, *left, *right, "");
        return lines.empty() ? List{std::string(kMask)} : lines;
    }
    lines = shownLines(mine);
    for (std::string& line : lines) {
        std::replace(line.begin(), line.end(), '\t', ' ');
    }
    return lines;
}

std::string reasonText(const Difference& difference, const Reason& reason) {
    return difference.secret ? "the secrets differ; " + reason.sentence : reason.sentence;
}

void append(std::string& text, const std::string& lead, const std::string& sentence,
            std::size_t width, Paint paint, bool color) {
    std::string begin = lead;
    for (const std::string& line : wrappedWords(sentence, width - kIndent, ";,")) {
        text += painted(begin + line, paint, color) + '\n';
        begin.assign(kIndent, ' ');
    }
}

/// The place is beside the reason or, if there is no room, below it.
void appendReason(std::string& text, const Difference& difference, const Reason& reason,
                  std::size_t width) {
    const std::string indent(kIndent, ' ');
    const std::string sentence = escaped(reasonText(difference, reason));
    const std::string place = reason.place ? reason.place->shown : "";
    if (!place.empty() && kIndent + displayWidth(sentence) + kGap + displayWidth(place) <= width) {
        text += indent + sentence + std::string(kGap, ' ') + place + '\n';
        return;
    }
    for (const std::string& line : wrappedWords(sentence, width - kIndent)) {
        text += indent + line + '\n';
    }
    text += place.empty() ? "" : indent + place + '\n';
}

void appendSide(std::string& text, char sign, const Difference& difference, std::size_t width,
                bool color) {
    const bool isA = sign == '-';
    const Reasoned& mine = isA ? difference.a : difference.b;
    const Reasoned& other = isA ? difference.b : difference.a;
    std::string lead = fmt::format("  {} ", sign);
    for (const std::string& line : answerLines(mine.reply, other.reply)) {
        append(text, lead, line, width, isA ? Paint::Red : Paint::Green, color);
        lead.assign(kIndent, ' ');
    }
    appendReason(text, difference, mine.reason, width);
}

std::string onlyInText(const Comparison& comparison, const ComparedProcess& process) {
    return "only in " + escaped(process.onlyIn == 'a' ? comparison.a : comparison.b);
}

std::string summary(const Comparison& comparison) {
    std::size_t answers = 0;
    std::size_t differences = 0;
    std::size_t alone = 0;
    std::size_t same = 0;
    for (const ComparedProcess& process : comparison.processes) {
        answers += process.answers;
        differences += process.differences.size();
        alone += process.onlyIn != 0 ? 1 : 0;
        same += process.sameFiles ? 1 : 0;
    }
    std::string text =
        answers == 0 ? std::string("no difference")
        : differences == 0
            ? counted(answers, "answer, no difference", "answers, no difference")
            : fmt::format("{} of {} differ{}", differences, counted(answers, "answer", "answers"),
                          differences == 1 ? "s" : "");
    if (same != 0) {
        text += fmt::format("; {} with the same files", counted(same, "process", "processes"));
    }
    if (alone != 0) {
        text += fmt::format("; {} only on one side", counted(alone, "process", "processes"));
    }
    return text;
}

std::string plainSide(char sign, const ComparedProcess& process, const Difference& difference) {
    const bool isA = sign == '-';
    const Reasoned& mine = isA ? difference.a : difference.b;
    const Reasoned& other = isA ? difference.b : difference.a;
    std::string text;
    for (const std::string& line : answerLines(mine.reply, other.reply)) {
        text += joined({std::string(1, sign), escaped(process.key), mine.reply.label(), line,
                        escaped(reasonText(difference, mine.reason)),
                        mine.reason.place ? mine.reason.place->shown : ""},
                       "\t") +
                '\n';
    }
    return text;
}

Json::Value toJson(const Reasoned& reasoned) {
    Json::Value value = toJson(reasoned.reply);
    for (const char* member : {"query", "operation", "arguments"}) {
        value.removeMember(member);
    }
    addReason(value, reasoned.reason);
    return value;
}

Json::Value toJson(const Difference& difference) {
    const Json::Value question = toJson(difference.a.reply);
    Json::Value row;
    for (const char* member : {"query", "operation", "arguments"}) {
        row[member] = question[member];
    }
    row["secret"] = difference.secret;
    row["a"] = toJson(difference.a);
    row["b"] = toJson(difference.b);
    return row;
}

} // namespace

std::string comparisonTable(const Comparison& comparison, std::size_t width, bool color) {
    std::string text;
    for (const auto& [sign, name, paint] : {std::tuple("- ", comparison.a, Paint::Red),
                                            std::tuple("+ ", comparison.b, Paint::Green)}) {
        append(text, sign, escaped(name), width, paint, color);
    }
    for (const ComparedProcess& process : comparison.processes) {
        if (process.differences.empty() && process.onlyIn == 0) {
            continue;
        }
        if (!process.key.empty()) {
            text += '\n' + painted("process " + escaped(process.key), Paint::Bold, color) +
                    (process.onlyIn != 0 ? ": " + onlyInText(comparison, process) : "") + '\n';
        }
        for (const Difference& difference : process.differences) {
            text += '\n';
            for (const std::string& line : wrappedWords(difference.a.reply.label(), width)) {
                text += painted(line, Paint::Bold, color) + '\n';
            }
            appendSide(text, '-', difference, width, color);
            appendSide(text, '+', difference, width, color);
        }
    }
    return text + '\n' + summary(comparison) + '\n';
}

std::string comparisonPlain(const Comparison& comparison) {
    std::string text;
    for (const ComparedProcess& process : comparison.processes) {
        if (process.onlyIn != 0) {
            text += joined({process.onlyIn == 'a' ? "-" : "+", escaped(process.key), "", "",
                            onlyInText(comparison, process), ""},
                           "\t") +
                    '\n';
        }
        for (const Difference& difference : process.differences) {
            text += plainSide('-', process, difference) + plainSide('+', process, difference);
        }
    }
    return text;
}

Json::Value toJson(const Comparison& comparison) {
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["a"] = comparison.a;
    value["b"] = comparison.b;
    value["same"] = comparison.same();
    value["processes"] = Json::Value(Json::arrayValue);
    for (const ComparedProcess& process : comparison.processes) {
        Json::Value row;
        row["process"] = process.key;
        if (process.onlyIn != 0) {
            row["onlyIn"] = std::string(1, process.onlyIn);
        }
        row["sameFiles"] = process.sameFiles;
        row["answers"] = static_cast<Json::UInt64>(process.answers);
        row["differences"] = Json::Value(Json::arrayValue);
        for (const Difference& difference : process.differences) {
            row["differences"].append(toJson(difference));
        }
        value["processes"].append(row);
    }
    return value;
}

std::string comparisonJson(const Comparison& comparison) {
    return indentedJson(toJson(comparison));
}

} // namespace sysconfctl
