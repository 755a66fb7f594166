// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/CommandLine.h"
#include "diff/Side.h"
#include "explain/Reason.h"
#include "query/AskedQuery.h"
#include "query/Reply.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace sysconfctl {

/// An answer and its reason.
struct Reasoned {
    Reply reply;
    Reason reason;
};

/// A query with different answers.
struct Difference {
    Reasoned a;
    Reasoned b;
    /// Only secrets differ, and they are masked.
    bool secret = false;
};

/// The comparison of one process.
struct ComparedProcess {
    /// Empty if there is only one.
    std::string key;
    /// 'a' or 'b' if only that side has the process; otherwise 0.
    char onlyIn = 0;
    /// All files and variables are equal, so the answers are equal and were not computed.
    bool sameFiles = false;
    std::size_t answers = 0;
    std::vector<Difference> differences;
};

struct Comparison {
    std::string a;
    std::string b;
    std::vector<ComparedProcess> processes;

    bool same() const;
};

/// Compares the answers to the queries, or to all of `show`.
/// @throws UsageError if a query does not accept its arguments, or the sides do not match.
Comparison compare(Side& a, Side& b, const std::vector<AskedQuery>& asked, bool revealSecrets);

std::string comparisonTable(const Comparison& comparison, std::size_t width, bool color);
/// Tab-separated: "-" for A or "+" for B, process, query, answer, reason, place.
std::string comparisonPlain(const Comparison& comparison);
std::string comparisonJson(const Comparison& comparison);

} // namespace sysconfctl
