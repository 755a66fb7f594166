// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "queries/Answer.h"
#include "queries/Library.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace Quarncommon::queries {

using library::Arguments;

enum class Occurs { Once, OnceOrMore, AnyTimes };

/// What completion offers for an argument.
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

/// The part of an answer that the tool shows only with --reveal-secrets.
enum class Secret {
    None,
    Whole,     ///< the whole text
    LoginData, ///< the whole text if it holds login data, such as a URL with a password
    Database,  ///< the members of a database's entries that are not shown fields
    Databases, ///< the same for each database, by name
};

/// The arguments with which `show` asks a query.
enum class Shown {
    Once,              ///< those of the table
    ForLocalTenancy,   ///< those of the table and the tenancy of the local node
    EachDatabase,      ///< the name of each database
    EachDatabaseEntry, ///< the name of each database and the index of each entry
};

/// A public query of the library, and its name in the tool and in the C library.
struct Query {
    std::string_view name;
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

const Query* queryNamed(std::string_view name);

bool takesArguments(const Query& query, std::size_t number);

} // namespace Quarncommon::queries
