#pragma once

#include "Queries.h"

#include <vector>

namespace sysconfctl {

/// A query to ask, with its arguments.
struct Question {
    const Query* query;
    Arguments arguments;
};

/// Every query, with the arguments that the table of queries and the library's answers give: all
/// entries of all databases, the tenancy of this node. The library must be in use.
std::vector<Question> allQuestions();

} // namespace sysconfctl
