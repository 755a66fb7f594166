// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/SharedQueries.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// The names of queries that are likely meant or, if there are none, of operations.
std::vector<std::string> nearQueries(std::string_view name);

/// @param name The name of the query or of its operation; of several queries with the same
///   operation, the first one is returned.
/// @throws UsageError if there is no such query; the message has near matches.
const Query& findQuery(std::string_view name);

/// The usage of the query: "db-type NAME INDEX", "all-float-ip TAG...".
std::string usageOf(const Query& query);

/// The query and its arguments, quoted for a shell: "local-ip-by-usage 'my tag'".
std::string labelOf(const Query& query, const Arguments& arguments);

/// @param command The command that the user ran, which the message names.
/// @throws UsageError if the query takes more arguments, or fewer.
void checkArgumentCount(const Query& query, const Arguments& arguments,
                        std::string_view command = "get");

/// The index of a database entry.
/// @throws UsageError unless the text is a decimal number in the range of the type.
unsigned int indexArgument(const std::string& text);

} // namespace sysconfctl
