// SPDX-License-Identifier: Apache-2.0
#include "check/Report.h"

#include "explain/StepPlace.h"
#include "render/Color.h"
#include "render/Output.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

void append(std::string& text, const std::string& line, std::size_t indent) {
    const std::size_t width = outputWidth();
    for (const std::string& piece : wrapped(line, width - indent)) {
        text += std::string(indent, ' ') + piece + '\n';
    }
}

Paint paintOf(Severity severity) {
    return severity == Severity::Error     ? Paint::Red
           : severity == Severity::Warning ? Paint::Magenta
                                           : Paint::Green;
}

std::string screenOf(const Finding& finding, const Options& options, bool color) {
    const std::string line =
        fmt::format("{}: {}: {} [{}]", escaped(placeOf(finding)), nameOf(finding.severity),
                    escaped(finding.sentence), finding.name);
    std::string text;
    append(text, line, 0);
    if (color) {
        const std::string severity = std::string(nameOf(finding.severity)) + ':';
        const std::size_t at = text.find(severity);
        if (at != std::string::npos) {
            text.replace(at, severity.size(), painted(severity, paintOf(finding.severity), true));
        }
    }
    const auto lines = excerpt(finding, outputWidth() - 2, options.revealSecrets);
    if (!lines.empty()) {
        text += "  " + lines[0] + '\n';
        const std::size_t carets = lines[1].find('^');
        text += "  " + lines[1].substr(0, carets) +
                painted(lines[1].substr(carets), Paint::Green, color) + '\n';
    }
    for (const RelatedPlace& place : finding.related) {
        append(text, fmt::format("see {}: {}", escaped(placeOf(place)), escaped(place.sentence)),
               2);
    }
    for (const std::string& consequence : finding.consequences) {
        append(text, "so " + escaped(consequence), 2);
    }
    if (!finding.hint.empty()) {
        append(text, "hint: " + escaped(finding.hint), 2);
    }
    return text;
}

/// "1 error, 2 warnings in 3 files: 2 processes, 4 nodes"
std::string summary(const CheckResult& result, const Options& options) {
    const std::size_t errors = countOf(result, Severity::Error);
    const std::size_t warnings = countOf(result, Severity::Warning);
    const std::size_t notes = countOf(result, Severity::Note);
    std::string text = errors + warnings == 0
                           ? std::string("no problem found")
                           : fmt::format("{}, {}", counted(errors, "error", "errors"),
                                         counted(warnings, "warning", "warnings"));
    text += fmt::format(" in {}: {}, {}", counted(result.files, "file", "files"),
                        counted(result.processes, "process", "processes"),
                        counted(result.nodes, "node", "nodes"));
    if (notes > 0) {
        text += fmt::format("; {}{}", counted(notes, "note", "notes"),
                            options.notes ? "" : " (--notes)");
    }
    return text;
}

bool isListed(const Finding& finding, const Options& options) {
    return options.notes || finding.severity != Severity::Note;
}

} // namespace

const char* nameOf(Severity severity) {
    return severity == Severity::Error     ? "error"
           : severity == Severity::Warning ? "warning"
                                           : "note";
}

std::size_t countOf(const CheckResult& result, Severity severity) {
    return static_cast<std::size_t>(
        std::count_if(result.findings.begin(), result.findings.end(),
                      [&](const Finding& finding) { return finding.severity == severity; }));
}

std::string placeOf(const RelatedPlace& place) {
    const located::Place at = place.file->document.place(place.offset);
    return fmt::format("{}:{}:{}", shortPath(place.file->path), at.line, at.column);
}

std::string placeOf(const Finding& finding) {
    if (finding.file == nullptr) {
        return "environment";
    }
    return finding.offset ? placeOf(RelatedPlace{finding.file, *finding.offset, ""})
                          : shortPath(finding.file->path);
}

std::string tableReport(const CheckResult& result, const Options& options) {
    const bool color = colorWanted(options.color);
    std::string text;
    for (const Finding& finding : result.findings) {
        if (isListed(finding, options)) {
            text += screenOf(finding, options, color);
        }
    }
    append(text, summary(result, options), 0);
    return text;
}

std::string plainReport(const CheckResult& result, const Options& options) {
    std::string text;
    for (const Finding& finding : result.findings) {
        if (isListed(finding, options)) {
            text += fmt::format("{}: {}: {} [{}]\n", escaped(placeOf(finding)),
                                nameOf(finding.severity), escaped(finding.sentence), finding.name);
        }
    }
    return text;
}

} // namespace sysconfctl
