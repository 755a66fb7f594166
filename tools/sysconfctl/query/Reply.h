#pragma once

#include "query/Answer.h"
#include "query/Queries.h"

#include <optional>
#include <string>

namespace sysconfctl {

/// A query that was asked: what came back, an answer or what the library threw.
struct Reply {
    const Query* query;
    Arguments arguments;
    Answer answer;
    std::optional<std::string> error = std::nullopt;

    /// The query with its arguments, as one types them.
    std::string label() const;
};

/// Asks the library. What it throws ends in the reply; secrets are masked here, before any writer
/// can see them, unless they are to be revealed.
/// @throws UsageError when the arguments are none that the query takes.
Reply ask(const Query& query, const Arguments& arguments, bool revealSecrets);

} // namespace sysconfctl
