// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/SharedQueries.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// If there are none, the names of operations.
std::vector<std::string> nearQueries(std::string_view name);

/// Finds it by its name or that of its operation; the first one if several have that.
/// @throws UsageError if there is no such query; the message has near matches.
const Query& findQuery(std::string_view name);

/// "db-type NAME INDEX", "all-float-ip TAG..."
std::string usageOf(const Query& query);

/// Quoted for a shell: "local-ip-by-usage 'my tag'".
std::string labelOf(const Query& query, const Arguments& arguments);

/// @param command The command that the user ran, which the message names.
void checkArgumentCount(const Query& query, const Arguments& arguments,
                        std::string_view command = "get");

/// @throws UsageError unless the text is a decimal number in the range of the type.
unsigned int indexArgument(const std::string& text);

} // namespace sysconfctl
