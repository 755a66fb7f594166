// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "comparison/Files.h"
#include "support/Queries.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

/// Compares the library with NaiveReader.
namespace comparison {

/// What the queries are asked with.
struct Questions {
    std::set<std::string> tags;
    std::set<std::string> prefixes{"northbound", "southbound", "", "s", "North"};
    /// Member and prefix of its value, for getIPAddresses.
    std::set<std::pair<std::string, std::string>> fields{{"assignedToTenancy", ""},
                                                         {"assignedToTenancy", "t1"},
                                                         {"kind", "1"},
                                                         {"extAttr", ""},
                                                         {"", "t"}};
    queries::Outputs before;
};

/// Common tags and a few strings of the texts.
Questions questionsFor(const files::Texts& texts);

/// Query, with its arguments, and answer.
using Answers = std::vector<std::pair<std::string, std::string>>;

/// Compares the answers after a first load of `texts`, asked twice, and what a reload of `texts`
/// over `before` loads. Each query that reads nothing is asked, and each that reads one of `reads`.
/// Returns the first difference, "" if there is none. Also expects that no lock stays held.
std::string difference(const files::Texts& before, const files::Texts& texts,
                       const std::set<queries::Reads>& reads, const Questions& questions,
                       Answers* answers = nullptr);

/// Loads `texts`, then writes each of `lists` to both node lists in turn, the first one again at
/// the end, and asks for each between one and eight times what reads a list. Nothing is reloaded.
/// Returns the first difference, "" if there is none.
std::string differenceInTurn(const files::Texts& texts, const std::vector<std::string>& lists);

/// The same as `difference` for a fuzz target; aborts the process with a message if there is a
/// difference.
void requireSame(const files::Texts& before, const files::Texts& texts, queries::Reads reads);

} // namespace comparison
