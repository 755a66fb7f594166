#pragma once

#include "deployment/Loaded.h"
#include "query/Answer.h"
#include "query/Queries.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// A value of a file that a step speaks of.
struct Spot {
    const SourceFile* file = nullptr;
    located::Path path;
};

/// One step of the way to an answer.
struct Step {
    /// "variable", "file", "load", "node", "entry", "host", "fallback", "slot", "value".
    std::string_view kind;
    /// Unescaped: every writer escapes for itself.
    std::string sentence;
    std::optional<Spot> at = std::nullopt;
};

/// Why there is no answer, in a word that scripts may rely on, and what to do about it.
struct Reason {
    std::string_view name;
    std::string sentence;
    std::string advice;
};

/// An answer as it follows from the files by the library's rules, with the way to it.
struct Explanation {
    const Query* query = nullptr;
    Arguments arguments;
    Answer answer{NoAnswer{}};
    /// The library is bound to throw here.
    bool throws = false;
    std::vector<Step> steps;
    std::optional<Reason> reason;

    std::string label() const;
};

/// Explains one query over sources that were loaded.
/// @throws UsageError when the arguments are none that the query takes.
Explanation explain(const Query& query, const Arguments& arguments, const Sources& sources,
                    const Loaded& loaded);

/// Whether the library's reply is what the explanation says. Neither may be masked.
bool agrees(const Explanation& explanation, const struct Reply& reply);

} // namespace sysconfctl
