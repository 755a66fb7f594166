// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Loaded.h"
#include "query/QueryUsage.h"

#include <vector>

namespace sysconfctl {

/// A query with its arguments.
struct Question {
    const Query* query;
    Arguments arguments;
};

/// Returns the questions of `show`. The databases are an answer of the library, so the list may
/// differ from call to call.
std::vector<Question> allQuestions();

/// Likewise, for values that the tool loaded itself.
std::vector<Question> allQuestions(const Values& values);

} // namespace sysconfctl
