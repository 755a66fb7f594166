// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Questions.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// A query of the command line with its arguments. Without arguments it means every question of
/// `show` with that query.
struct AskedQuery {
    const Query* query;
    Arguments arguments;
};

/// Parses "db-type orders 0": a query, and its arguments as in a shell.
/// @param command The command that the user ran, which messages name.
/// @throws UsageError if there is no such query, or it takes other arguments.
AskedQuery askedQuery(const std::string& word, std::string_view command);

/// The questions that match the queries; all questions if there are no queries.
std::vector<Question> questionsOf(const std::vector<AskedQuery>& asked);

} // namespace sysconfctl
