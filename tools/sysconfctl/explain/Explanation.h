// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Loaded.h"
#include "query/QueryUsage.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

struct Spot {
    const SourceFile* file = nullptr;
    located::Path path;
    /// An offset in the file that replaces that of the value.
    std::optional<std::size_t> offset = std::nullopt;
};

/// The data of a step for JSON output; empty where not applicable.
struct Facts {
    std::string node = {};
    std::string entry = {};
    std::optional<std::string> address = std::nullopt;
    std::vector<std::string> tags = {};
    std::string expected = {};
    std::string found = {};
    /// The rule that made the value lose: "tag", "order" of node ids, "position" in the list.
    std::string_view by = {};
};

enum class Weight { Detail, Deciding, Decisive };

struct Step {
    /// "variable", "file", "load", "node", "entry", "host", "fallback", "slot", "value".
    std::string_view kind;
    /// The outcome in one word that scripts may rely on: "read", "taken", "overridden".
    std::string_view outcome;
    /// Not escaped: every writer escapes it.
    std::string sentence;
    std::optional<Spot> at = std::nullopt;
    Facts facts = {};
    Weight weight = Weight::Detail;
};

/// The word is one that scripts may rely on.
struct Verdict {
    std::string_view name;
    std::string sentence;
    std::string advice;
};

enum class Moment { Call, Load, NodeAtLoad };

struct Explanation {
    const Query* query = nullptr;
    Arguments arguments;
    Answer answer{NoAnswer{}};
    std::optional<std::string> error;
    std::vector<Step> steps;
    Verdict verdict;
    Moment moment = Moment::Call;

    std::string label() const;
};

/// The sources must have been loaded into `loaded`.
/// @throws UsageError if the query does not accept the arguments.
Explanation explain(const Query& query, const Arguments& arguments, const Sources& sources,
                    const Loaded& loaded);

/// Neither may be masked.
bool agrees(const Explanation& explanation, const struct Reply& reply);

/// Unless `revealSecrets` is true, secrets are masked.
struct Reply evaluated(const Explanation& explanation, bool revealSecrets);

/// A name in a sentence: verbatim, or in quotation marks if it could be misread.
std::string named(const std::string& name);

} // namespace sysconfctl
