// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Questions.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Without arguments it means every question of `show` with that query.
struct AskedQuery {
    const Query* query;
    Arguments arguments;
};

/// Parses "db-type orders 0". `command` is the command of the user, which messages name.
/// @throws UsageError if there is no such query, or it takes other arguments.
AskedQuery askedQuery(const std::string& word, std::string_view command);

std::vector<Question> questionsOf(const std::vector<AskedQuery>& asked);

} // namespace sysconfctl
