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

/// Error: something answers wrongly or not at all for some process of the deployment. Warning:
/// probably wrong. Note: unusual, but as it should be.
enum class Severity { Error, Warning, Note };

/// Another place that a finding refers to, such as the file that disagrees.
struct RelatedPlace {
    const SourceFile* file = nullptr;
    std::size_t offset = 0;
    /// What is there; unescaped.
    std::string sentence;
};

/// One thing that is wrong, or unusual, in the files or the environment.
struct Finding {
    Severity severity = Severity::Error;
    /// A word that scripts may rely on.
    std::string_view name;
    /// What is wrong and what follows from it; unescaped.
    std::string sentence;
    /// What to do about it; may be empty.
    std::string hint;
    /// Null for the environment.
    const SourceFile* file = nullptr;
    /// The bytes meant; nothing where a file as a whole is.
    std::optional<std::size_t> offset = std::nullopt;
    std::size_t length = 0;
    std::string pointer = {};
    std::vector<RelatedPlace> related = {};
    /// What follows from this fault; no separate findings.
    std::vector<std::string> consequences = {};
};

/// The files that a process reads; null for a file that is not part of what is checked.
struct View {
    const SourceFile* appConfig = nullptr;
    const SourceFile* nodeList = nullptr;
    const SourceFile* managerNodeList = nullptr;
    /// The process that is asked about; nothing: every process of the app config file.
    std::optional<std::string> instance = std::nullopt;
};

/// What is checked.
struct Inventory {
    /// The files that were found in a tree.
    std::deque<SourceFile> files;
    std::vector<View> views;
    /// The addresses of the host; empty if the files are those of several hosts.
    std::list<std::string> hostAddresses;
};

/// What was checked and found.
struct CheckResult {
    /// In the order of the files and of the places in them.
    std::vector<Finding> findings;
    std::size_t files = 0;
    std::size_t processes = 0;
    std::size_t nodes = 0;
};

/// The files of one process.
Inventory inventoryOf(const Sources& sources);
/// The files of whole trees: env files, app config files and node lists.
/// @throws UsageError if an operand does not exist or nothing to check is found.
Inventory inventoryOf(const std::vector<std::string>& operands,
                      const std::vector<std::string>& localAddresses);

CheckResult check(const Inventory& inventory);

/// The names that findings can have, in alphabetical order, each with what it means.
struct FindingName {
    std::string_view name;
    std::string_view meaning;
};
const std::vector<FindingName>& findingNames();

/// The line of the text in which the finding is, and a line with carets under the place; passwords
/// masked, both escaped and at most `width` columns wide. Empty without a place.
std::vector<std::string> excerpt(const Finding& finding, std::size_t width, bool reveal);

} // namespace sysconfctl
