// SPDX-License-Identifier: Apache-2.0
#include "check/Report.h"

#include "explain/StepPlace.h"
#include "render/Json.h"
#include "render/Markup.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>

namespace sysconfctl {
namespace {

/// Wider than any line of a file that is edited by hand.
constexpr std::size_t kWhole = 10000;

Json::UInt64 number(std::size_t value) {
    return value;
}

Json::Value placeJson(const SourceFile& file, std::optional<std::size_t> offset) {
    Json::Value row(Json::objectValue);
    row["file"] = file.path;
    if (offset) {
        const located::Place place = file.document.place(*offset);
        row["line"] = number(place.line);
        row["column"] = number(place.column);
    }
    return row;
}

/// Percent-encoded, absolute with its scheme.
std::string uriOf(const std::string& path) {
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                        "0123456789-._~/";
    const std::string shown = shortPath(path);
    std::string uri = shown.starts_with('/') ? "file://" : "";
    for (const char c : shown) {
        if (kPlain.find(c) != std::string_view::npos) {
            uri += c;
        } else {
            uri += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        }
    }
    return uri;
}

Json::Value sarifLocation(const SourceFile& file, std::optional<std::size_t> offset) {
    Json::Value location;
    Json::Value& physical = location["physicalLocation"];
    physical["artifactLocation"]["uri"] = uriOf(file.path);
    if (offset) {
        const located::Place place = file.document.place(*offset);
        physical["region"]["startLine"] = number(place.line);
        physical["region"]["startColumn"] = number(place.column);
    }
    return location;
}

/// For formats without fields for consequences and hint.
std::string messageOf(const Finding& finding) {
    std::string text = finding.sentence;
    for (const std::string& consequence : finding.consequences) {
        text += "; so " + consequence;
    }
    return finding.hint.empty() ? text : text + "; hint: " + finding.hint;
}

Json::Value sarifResult(const Finding& finding) {
    Json::Value row;
    row["ruleId"] = std::string(finding.name);
    row["level"] = nameOf(finding.severity);
    row["message"]["text"] = messageOf(finding);
    row["locations"] = Json::Value(Json::arrayValue);
    if (finding.file != nullptr) {
        row["locations"].append(sarifLocation(*finding.file, finding.offset));
    }
    for (const RelatedPlace& place : finding.related) {
        Json::Value related = sarifLocation(*place.file, place.offset);
        related["message"]["text"] = place.sentence;
        row["relatedLocations"].append(related);
    }
    return row;
}

std::string workflowText(const std::string& text, bool isProperty) {
    std::string result;
    for (const char c : escaped(text)) {
        const bool special =
            c == '%' || c == '\r' || c == '\n' || (isProperty && (c == ':' || c == ','));
        result +=
            special ? fmt::format("%{:02X}", static_cast<unsigned char>(c)) : std::string(1, c);
    }
    return result;
}

} // namespace

Json::Value findingJson(const Finding& finding, bool reveal) {
    Json::Value row(Json::objectValue);
    if (finding.file != nullptr) {
        row = placeJson(*finding.file, finding.offset);
        row["pointer"] = finding.pointer;
        if (finding.offset) {
            row["excerpt"] = excerpt(finding, kWhole, reveal).front();
        }
    }
    row["severity"] = nameOf(finding.severity);
    row["name"] = std::string(finding.name);
    row["text"] = finding.sentence;
    row["hint"] = finding.hint;
    row["related"] = Json::Value(Json::arrayValue);
    for (const RelatedPlace& place : finding.related) {
        Json::Value related = placeJson(*place.file, place.offset);
        related["text"] = place.sentence;
        row["related"].append(related);
    }
    row["consequences"] = Json::Value(Json::arrayValue);
    for (const std::string& consequence : finding.consequences) {
        row["consequences"].append(consequence);
    }
    return row;
}

std::string report(const CheckResult& result, const Options& options) {
    switch (options.format) {
    case Format::Json:
        return jsonReport(result, options);
    case Format::Plain:
        return plainReport(result, options);
    case Format::Sarif:
        return sarifReport(result, options);
    case Format::Junit:
        return junitReport(result, options);
    case Format::Github:
        return githubReport(result, options);
    default:
        return tableReport(result, options);
    }
}

std::string jsonReport(const CheckResult& result, const Options& options) {
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["errors"] = number(countOf(result, Severity::Error));
    value["warnings"] = number(countOf(result, Severity::Warning));
    value["notes"] = number(countOf(result, Severity::Note));
    value["checked"]["files"] = number(result.files);
    value["checked"]["processes"] = number(result.processes);
    value["checked"]["nodes"] = number(result.nodes);
    value["findings"] = Json::Value(Json::arrayValue);
    for (const Finding& finding : result.findings) {
        value["findings"].append(findingJson(finding, options.revealSecrets));
    }
    return indentedJson(value);
}

std::string sarifReport(const CheckResult& result, const Options& /*options*/) {
    Json::Value value;
    value["$schema"] = "https://json.schemastore.org/sarif-2.1.0.json";
    value["version"] = "2.1.0";
    Json::Value run;
    Json::Value& driver = run["tool"]["driver"];
    driver["name"] = "sysconfctl";
    driver["version"] = SYSCONFCTL_VERSION;
    driver["rules"] = Json::Value(Json::arrayValue);
    for (const FindingName& one : findingNames()) {
        Json::Value rule;
        rule["id"] = std::string(one.name);
        rule["shortDescription"]["text"] = std::string(one.meaning);
        driver["rules"].append(rule);
    }
    run["columnKind"] = "unicodeCodePoints";
    run["results"] = Json::Value(Json::arrayValue);
    for (const Finding& finding : result.findings) {
        run["results"].append(sarifResult(finding));
    }
    value["runs"].append(run);
    return indentedJson(value);
}

std::string junitReport(const CheckResult& result, const Options& options) {
    std::string cases;
    std::size_t failures = 0;
    std::size_t tests = 0;
    for (const Finding& finding : result.findings) {
        if (finding.severity == Severity::Note && !options.notes) {
            continue;
        }
        ++tests;
        const std::string open = fmt::format(
            "    <testcase classname=\"{}\" name=\"{}\"", markupText(finding.name.data()),
            markupText(placeOf(finding) + ": " + finding.sentence));
        if (finding.severity != Severity::Error &&
            !(options.strict && finding.severity == Severity::Warning)) {
            cases += fmt::format("{}>\n      <system-out>{}: {}</system-out>\n    </testcase>\n",
                                 open, nameOf(finding.severity), markupText(messageOf(finding)));
            continue;
        }
        ++failures;
        cases += fmt::format("{}>\n      <failure type=\"{}\" message=\"{}\"/>\n    </testcase>\n",
                             open, nameOf(finding.severity), markupText(messageOf(finding)));
    }
    if (tests == 0) { // a suite without a test case looks as if nothing had run
        ++tests;
        cases = "    <testcase classname=\"check\" name=\"no problem found\"/>\n";
    }
    return fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<testsuites>\n"
                       "  <testsuite name=\"sysconfctl check\" tests=\"{}\" failures=\"{}\">\n"
                       "{}  </testsuite>\n"
                       "</testsuites>\n",
                       tests, failures, cases);
}

std::string githubReport(const CheckResult& result, const Options& options) {
    std::string text;
    for (const Finding& finding : result.findings) {
        if (finding.severity == Severity::Note && !options.notes) {
            continue;
        }
        std::string place;
        if (finding.file != nullptr) {
            place += "file=" + workflowText(shortPath(finding.file->path), true) + ',';
            if (finding.offset) {
                const located::Place at = finding.file->document.place(*finding.offset);
                place += fmt::format("line={},col={},", at.line, at.column);
            }
        }
        text +=
            fmt::format("::{} {}title={}::{}\n",
                        finding.severity == Severity::Note ? "notice" : nameOf(finding.severity),
                        place, finding.name, workflowText(messageOf(finding), false));
    }
    return text;
}

} // namespace sysconfctl
