// SPDX-License-Identifier: Apache-2.0
#include "cli/Environment.h"

#include "cli/CommandTable.h"
#include "cli/FileBytes.h"
#include "cli/Suggestion.h"
#include "cli/UsageError.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace sysconfctl {
namespace {

constexpr const char* kInstanceId = "PROCESS_INSTANCE_ID";
constexpr std::array kPaths = {"APP_CONF_FILE", "APP_ROOT", "TOLM_ROOT"};

constexpr std::string_view kBlanks = " \t\r\v\f";

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    text.remove_prefix(begin);
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::string_view unquoted(std::string_view value) {
    const bool quoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                        value.front() == value.back();
    return quoted ? value.substr(1, value.size() - 2) : value;
}

bool isVariableName(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789";
    constexpr std::string_view kNameCharacters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";
    return !text.empty() && kDigits.find(text.front()) == std::string_view::npos &&
           text.find_first_not_of(kNameCharacters) == std::string_view::npos;
}

/// Returns what is wrong with an assignment, or null. A NUL byte would end the value.
const char* fault(std::string_view key, std::size_t equals, std::string_view value) {
    if (equals == std::string_view::npos) {
        return "expected KEY=VALUE";
    }
    if (!isVariableName(key)) {
        return "the text before \"=\" is not a variable's name";
    }
    return value.find('\0') == std::string_view::npos ? nullptr : "the value contains a NUL byte";
}

std::vector<std::string_view> knownVariables(bool ofLibraryOnly) {
    std::vector<std::string_view> names;
    for (const VariableRow& row : variableTable()) {
        if (row.ofLibrary || !ofLibraryOnly) {
            names.push_back(row.name);
        }
    }
    return names;
}

bool isKnown(std::string_view variable) {
    const std::vector<std::string_view> names = knownVariables(false);
    return std::find(names.begin(), names.end(), variable) != names.end();
}

/// @param place The line of an environment file. Other programs may use the file too, so an unknown
///   variable is rejected only if its name resembles one of the library.
void rejectMisspelt(const std::string& variable, const std::string& place) {
    constexpr std::size_t kMostEdits = 2;
    const std::string near = suggestion(variable, knownVariables(true), kMostEdits);
    if (!isKnown(variable) && !near.empty()) {
        throw UsageError(
            fmt::format("{}: unknown variable {}{}", place, variable, didYouMean({near})));
    }
}

// NOLINTBEGIN(concurrency-mt-unsafe): the library is not in use yet, so there is only one thread.

void set(const Assignment& assignment) {
    if (::setenv(assignment.variable.c_str(), assignment.value.c_str(), 1) != 0) {
        throw UsageError(fmt::format("cannot set {}: {}", assignment.variable,
                                     std::system_category().message(errno)));
    }
}

bool isPath(const std::string& variable) {
    return std::find(kPaths.begin(), kPaths.end(), variable) != kPaths.end();
}

void applyEnvFile(const std::string& path) {
    const std::vector<Assignment> assignments = readEnvFile(path);
    const std::filesystem::path folder = std::filesystem::absolute(path).parent_path();
    ::unsetenv(kInstanceId);
    for (const char* variable : kPaths) {
        ::unsetenv(variable);
    }
    for (Assignment assignment : assignments) {
        if (isPath(assignment.variable) && !assignment.value.empty()) {
            assignment.value = (folder / assignment.value).string();
        }
        set(assignment);
    }
}

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

// NOLINTEND(concurrency-mt-unsafe)

} // namespace

Assignment parseAssignment(std::string_view text) {
    const std::size_t equals = text.find('=');
    const std::string_view key = text.substr(0, equals);
    const std::string_view value =
        equals == std::string_view::npos ? std::string_view() : text.substr(equals + 1);
    if (const char* const wrong = fault(key, equals, value)) {
        throw UsageError(fmt::format("--set: {}", wrong));
    }
    if (!isKnown(key)) {
        throw UsageError(fmt::format("--set: unknown variable {}{} (neither the library nor this "
                                     "tool reads it)",
                                     key, didYouMean(key, knownVariables(false))));
    }
    return {std::string(key), std::string(value)};
}

std::vector<Assignment> parseEnvFile(const std::string& text, const std::string& name) {
    std::vector<Assignment> assignments;
    std::string_view rest = text;
    for (int number = 1; !rest.empty(); ++number) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = trimmed(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::size_t equals = line.find('=');
        const std::string_view key = trimmed(line.substr(0, equals));
        const std::string_view value = equals == std::string_view::npos
                                           ? std::string_view()
                                           : unquoted(trimmed(line.substr(equals + 1)));
        if (const char* const wrong = fault(key, equals, value)) {
            throw UsageError(fmt::format("{}:{}: {}", name, number, wrong));
        }
        assignments.push_back({std::string(key), std::string(value)});
        rejectMisspelt(assignments.back().variable, fmt::format("{}:{}", name, number));
    }
    return assignments;
}

std::string readEnvFileText(const std::string& path) {
    try {
        return readBytes(path);
    } catch (const std::system_error& error) {
        throw UsageError(fmt::format("cannot read the environment file {}: {}", shellWord(path),
                                     error.code().message()));
    }
}

std::vector<Assignment> readEnvFile(const std::string& path) {
    return parseEnvFile(readEnvFileText(path), shellWord(path));
}

void applyEnvironment(const std::optional<std::string>& envFile,
                      const std::vector<std::string>& sets) {
    std::vector<Assignment> assignments;
    assignments.reserve(sets.size());
    for (const std::string& text : sets) {
        assignments.push_back(parseAssignment(text));
    }
    if (envFile) {
        applyEnvFile(*envFile);
    }
    for (const Assignment& assignment : assignments) {
        set(assignment);
    }
}

bool nothingIsSet() {
    return !isSet(kInstanceId) && std::none_of(kPaths.begin(), kPaths.end(), isSet);
}

} // namespace sysconfctl
