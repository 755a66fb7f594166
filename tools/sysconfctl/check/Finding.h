// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Sources.h"

#include <deque>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Some process gets a wrong answer or none; probably wrong; unusual but valid.
enum class Severity { Error, Warning, Note };

struct RelatedPlace {
    const SourceFile* file = nullptr;
    std::size_t offset = 0;
    std::string sentence;
};

struct Finding {
    Severity severity = Severity::Error;
    /// A word that scripts may rely on.
    std::string_view name;
    /// What is wrong and what follows from it; unescaped.
    std::string sentence;
    std::string hint;
    /// Null for the environment.
    const SourceFile* file = nullptr;
    /// The first of `length` bytes that the finding is about; unset for the whole file.
    std::optional<std::size_t> offset = std::nullopt;
    std::size_t length = 0;
    std::string pointer = {};
    std::vector<RelatedPlace> related = {};
    /// Not reported as separate findings.
    std::vector<std::string> consequences = {};
};

/// An environment file, and the paths that it leads to; empty for a variable that is not set.
struct EnvFilePaths {
    std::string envFile;
    std::string appConfig;
    std::string nodeList;
    std::string managerNodeList;
    /// Of the environment file, as it was read for the check.
    std::string text;
};

/// The files that a process reads; null for a file that is not checked.
struct View {
    const SourceFile* appConfig = nullptr;
    const SourceFile* nodeList = nullptr;
    const SourceFile* managerNodeList = nullptr;
    /// The process to check; unset: every process of the app config file.
    std::optional<std::string> instance = std::nullopt;
    /// Set if an environment file of a tree names the files.
    std::optional<EnvFilePaths> paths = std::nullopt;
};

struct Inventory {
    std::deque<SourceFile> files;
    std::vector<View> views;
    /// What a tree has besides these: env files that cannot be read or parsed, and links to folders
    /// outside, which are not entered. One sentence each; escaped.
    std::vector<std::string> leftOut;
    /// Empty if the files are those of several hosts.
    std::list<std::string> hostAddresses;
};

struct CheckResult {
    /// Sorted by file and offset; findings without a file come first.
    std::vector<Finding> findings;
    std::size_t files = 0;
    std::size_t processes = 0;
    std::size_t nodes = 0;
};

Inventory inventoryOf(const Sources& sources);
/// Env files, app config files and node lists in whole trees.
/// @throws UsageError if an operand does not exist or nothing to check is found.
Inventory inventoryOf(const std::vector<std::string>& operands,
                      const std::vector<std::string>& localAddresses);

CheckResult check(const Inventory& inventory);

/// The names are in alphabetical order.
struct FindingName {
    std::string_view name;
    std::string_view meaning;
};
const std::vector<FindingName>& findingNames();

/// The line of the finding and a line with carets, escaped and at most `width` columns wide.
/// Passwords are masked unless `reveal` is true. Empty if the finding has no place.
std::vector<std::string> excerpt(const Finding& finding, std::size_t width, bool reveal);

} // namespace sysconfctl
