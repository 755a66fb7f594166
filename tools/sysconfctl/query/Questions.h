#pragma once

#include "query/Queries.h"

#include <vector>

namespace sysconfctl {

/// A query to ask, with its arguments.
struct Question {
    const Query* query;
    Arguments arguments;
};

/// What to ask for all answers there are. Which databases there are is the library's answer, so
/// the list may differ from call to call.
std::vector<Question> allQuestions();

} // namespace sysconfctl
