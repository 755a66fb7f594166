// SPDX-License-Identifier: Apache-2.0
#include "render/Diagnostics.h"

#include "render/Json.h"
#include "render/Output.h"
#include "render/Text.h"

#include <string>

namespace sysconfctl {
namespace {

bool inJson = false;
std::string_view toolName = "sysconfctl";

void report(const char* kind, std::string_view name, std::string_view sentence) {
    if (!inJson) {
        writeErrors(std::string(toolName) + ": " + std::string(sentence) + '\n');
        return;
    }
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["kind"] = kind;
    value["name"] = std::string(name);
    value["text"] = std::string(sentence);
    writeErrors(compactJson(value) + '\n');
}

} // namespace

void useToolName(std::string_view name) {
    toolName = name;
}

void useJsonDiagnostics() {
    inJson = true;
}

void reportError(std::string_view name, std::string_view sentence) {
    report("error", name, sentence);
}

void reportNotice(std::string_view name, std::string_view sentence) {
    report("notice", name, sentence);
}

void reportThrow(const std::string& queryLabel, const std::string& message) {
    reportError(diagnostic::kLibraryThrew, queryLabel + ": the library threw: " + escaped(message));
}

void reportNewer(const std::vector<std::string>& sentences) {
    for (const std::string& sentence : sentences) {
        reportNotice(diagnostic::kNewerThanProcess, sentence);
    }
}

void reportUnloadedFiles(const std::vector<std::string>& troubles) {
    for (const std::string& trouble : troubles) {
        reportError(diagnostic::kDoesNotLoad, "the " + escaped(trouble));
    }
}

void reportUnmatched(const std::vector<std::string>& errors,
                     const std::vector<std::string>& notices) {
    for (const std::string& sentence : errors) {
        reportError(diagnostic::kNoMatch, sentence);
    }
    for (const std::string& sentence : notices) {
        reportNotice(diagnostic::kNoMatch, sentence);
    }
}

} // namespace sysconfctl
