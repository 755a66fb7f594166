// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Answer.h"
#include "query/Library.h"
#include "render/Masking.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

using library::Arguments;

enum class Occurs { Once, OnceOrMore, AnyTimes };

/// The names of a deployment that completion offers for an argument.
enum class Completes {
    Tags,
    TagPrefixes,
    Fields,        ///< names of members of nodes
    FieldPrefixes, ///< values of the member that the argument before names
    Databases,
    DatabaseEntries ///< indexes of the database that the argument before names
};

struct Parameter {
    std::string_view name;
    Completes completes;
    Occurs occurs = Occurs::Once;
};

/// The arguments with which `show` asks a query.
enum class Shown {
    Once,              ///< those of the table
    ForLocalTenancy,   ///< those of the table and the tenancy of the local node
    EachDatabase,      ///< the name of each database
    EachDatabaseEntry, ///< the name of each database and the index of each entry
};

/// A public query of the library and its name in the tool.
struct Query {
    std::string_view name;
    /// The name of the operation in the public headers.
    std::string_view operation;
    std::string_view section;
    std::string_view help;
    Answer (*ask)(const Arguments&);
    std::vector<Parameter> parameters = {};
    Secret secret = Secret::None;
    Shown shown = Shown::Once;
    Arguments shownWith = {};
};

/// All queries in the order of `show`. This is the only list of them.
const std::vector<Query>& queries();

/// The names of queries, or else of operations, that are likely meant.
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

} // namespace sysconfctl
