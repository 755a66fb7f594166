// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "check/Finding.h"
#include "render/Color.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

/// More columns than any line of a file that a person reads.
constexpr std::size_t kWhole = 10000;

const char* nameOf(Severity severity) {
    return severity == Severity::Error ? "error" : "warning";
}

std::size_t count(const std::vector<Finding>& findings, Severity severity) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [&](const Finding& finding) { return finding.severity == severity; }));
}

std::string placeOf(const Finding& finding) {
    if (finding.file == nullptr) {
        return "environment";
    }
    return escaped(finding.offset ? finding.file->where(*finding.offset) : finding.file->path);
}

void append(std::string& text, const std::string& line, std::size_t indent) {
    const std::size_t width = outputWidth();
    for (const std::string& piece : wrapped(line, width - indent)) {
        text += std::string(indent, ' ') + piece + '\n';
    }
}

std::string told(const Finding& finding, const Options& options, bool color) {
    const Paint paint = finding.severity == Severity::Error ? Paint::Red : Paint::Magenta;
    const std::string line =
        fmt::format("{}: {}: {} [{}]", placeOf(finding), nameOf(finding.severity),
                    escaped(finding.sentence), finding.name);
    std::string text;
    append(text, line, 0);
    if (color) {
        const std::string severity = std::string(nameOf(finding.severity)) + ':';
        const std::size_t at = text.find(severity);
        if (at != std::string::npos) {
            text.replace(at, severity.size(), painted(severity, paint, true));
        }
    }
    const auto lines = excerpt(finding, outputWidth() - 2, options.revealSecrets);
    if (!lines.empty()) {
        text += "  " + lines[0] + '\n';
        const std::size_t carets = lines[1].find('^');
        text += "  " + lines[1].substr(0, carets) +
                painted(lines[1].substr(carets), Paint::Green, color) + '\n';
    }
    if (!finding.hint.empty()) {
        append(text, "hint: " + escaped(finding.hint), 2);
    }
    return text;
}

std::string summary(const std::vector<Finding>& findings) {
    const std::size_t errors = count(findings, Severity::Error);
    const std::size_t warnings = count(findings, Severity::Warning);
    if (findings.empty()) {
        return "no problem found\n";
    }
    return fmt::format("{} error{}, {} warning{}\n", errors, errors == 1 ? "" : "s", warnings,
                       warnings == 1 ? "" : "s");
}

std::string plain(const std::vector<Finding>& findings) {
    std::string text;
    for (const Finding& finding : findings) {
        text += fmt::format("{}: {}: {} [{}]\n", placeOf(finding), nameOf(finding.severity),
                            escaped(finding.sentence), finding.name);
    }
    return text;
}

std::string json(const std::vector<Finding>& findings, const Options& options) {
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["errors"] = static_cast<Json::UInt64>(count(findings, Severity::Error));
    value["warnings"] = static_cast<Json::UInt64>(count(findings, Severity::Warning));
    value["findings"] = Json::Value(Json::arrayValue);
    for (const Finding& finding : findings) {
        Json::Value row;
        row["severity"] = nameOf(finding.severity);
        row["name"] = std::string(finding.name);
        row["text"] = finding.sentence;
        row["hint"] = finding.hint;
        if (finding.file != nullptr) {
            row["file"] = finding.file->path;
            row["pointer"] = finding.pointer;
        }
        if (finding.file != nullptr && finding.offset) {
            const located::Place place = finding.file->document.place(*finding.offset);
            row["line"] = static_cast<Json::UInt64>(place.line);
            row["column"] = static_cast<Json::UInt64>(place.column);
            row["excerpt"] = excerpt(finding, kWhole, options.revealSecrets).front();
        }
        value["findings"].append(row);
    }
    return indentedJson(value);
}

std::string findingsTable(const std::vector<Finding>& findings, const Options& options) {
    const bool color = colorWanted(options.color);
    std::string text;
    for (const Finding& finding : findings) {
        text += told(finding, options, color);
    }
    return text + summary(findings);
}

} // namespace

ExitStatus runCheck(const Options& options) {
    const Sources sources = readSources(options.localAddresses);
    const std::vector<Finding> findings = findingsOf(sources);
    switch (options.format) {
    case Format::Json:
        writeOutput(json(findings, options));
        break;
    case Format::Plain:
        writeOutput(plain(findings));
        break;
    default:
        writeOutput(findingsTable(findings, options));
    }
    if (count(findings, Severity::Error) != 0) {
        return ExitStatus::ErrorsFound;
    }
    return options.strict && !findings.empty() ? ExitStatus::Warnings : ExitStatus::Answered;
}

} // namespace sysconfctl
