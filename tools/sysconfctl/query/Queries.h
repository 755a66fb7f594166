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

/// Which texts of a deployment an argument is likely to be.
enum class Completes {
    Tags,
    TagPrefixes,
    Fields,        ///< names of members of nodes
    FieldPrefixes, ///< what the member named before holds
    Databases,
    DatabaseEntries ///< indexes in the database named before
};

struct Parameter {
    std::string_view name;
    Completes completes;
    Occurs occurs = Occurs::Once;
};

/// With which arguments `show` asks a query.
enum class Shown {
    Once,              ///< with those of the table
    ForLocalTenancy,   ///< with those of the table and the tenancy of the local node
    EachDatabase,      ///< with the name of every database
    EachDatabaseEntry, ///< with the name of every database and the index of every entry
};

/// One of the library's public queries, by the name under which the tool knows it.
struct Query {
    std::string_view name;
    /// The operation in the public headers.
    std::string_view operation;
    std::string_view section;
    std::string_view help;
    Answer (*ask)(const Arguments&);
    std::vector<Parameter> parameters = {};
    Secret secret = Secret::None;
    Shown shown = Shown::Once;
    Arguments shownWith = {};
};

/// All queries, in the order in which `show` shows them. The one place where they are listed.
const std::vector<Query>& queries();

/// @throws UsageError for a name that is none, with the one that was probably meant.
const Query& findQuery(std::string_view name);

/// The query as one types it: "db-type NAME INDEX", "all-float-ip TAG...".
std::string usageOf(const Query& query);

/// @throws UsageError when the query takes more arguments, or fewer.
void checkArgumentCount(const Query& query, const Arguments& arguments);

} // namespace sysconfctl
