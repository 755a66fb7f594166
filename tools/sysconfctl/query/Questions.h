// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Loaded.h"
#include "query/QueryUsage.h"

#include <vector>

namespace sysconfctl {

struct Question {
    const Query* query;
    Arguments arguments;
};

/// The questions of `show`; they may differ from call to call, because the databases do.
std::vector<Question> allQuestions();

/// Likewise, for values that the tool loaded itself.
std::vector<Question> allQuestions(const Values& values);

} // namespace sysconfctl
