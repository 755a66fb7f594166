// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "comparison/Files.h"
#include "support/Queries.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace comparison {

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

using Answers = std::vector<std::pair<std::string, std::string>>;

/// After a first load of `texts`, twice, and after a reload of `texts` over `before`. Calls each
/// query that reads nothing, and each that reads one of `reads`. Returns the first difference, ""
/// if there is none. Also expects that no lock remains held.
std::string difference(const files::Texts& before, const files::Texts& texts,
                       const std::set<queries::Reads>& reads, const Questions& questions,
                       Answers* answers = nullptr);

/// Loads `texts`, then writes each of `lists`, at the end the first one again, and calls the
/// queries that read a list one to eight times for each, without a reload.
std::string differenceInTurn(const files::Texts& texts, const std::vector<std::string>& lists);

/// Aborts the process with a message if there is a difference. For fuzz targets.
void requireSame(const files::Texts& before, const files::Texts& texts, queries::Reads reads);

} // namespace comparison
