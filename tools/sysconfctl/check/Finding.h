// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Loaded.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

enum class Severity { Error, Warning };

/// One thing that is wrong, or looks wrong, with the files or the environment.
struct Finding {
    Severity severity = Severity::Error;
    /// A word that scripts may rely on.
    std::string_view name;
    /// What is wrong and what it does in the library; unescaped.
    std::string sentence;
    /// What to do about it; may be empty.
    std::string hint;
    /// Null for the environment.
    const SourceFile* file = nullptr;
    /// The bytes meant; nothing where a file as a whole is.
    std::optional<std::size_t> offset = std::nullopt;
    std::size_t length = 0;
    std::string pointer = {};
};

/// All findings, in the order of the files and of the places in them.
std::vector<Finding> findingsOf(const Sources& sources);

/// The line of the text in which the finding is, and a line with carets under the place; passwords
/// masked, both escaped and at most `width` columns wide. Empty without a place.
std::vector<std::string> excerpt(const Finding& finding, std::size_t width, bool reveal);

} // namespace sysconfctl
