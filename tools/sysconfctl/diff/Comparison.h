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

struct Reasoned {
    Reply reply;
    Reason reason;
};

struct Difference {
    Reasoned a;
    Reasoned b;
    /// Only secrets differ, and they are masked.
    bool secret = false;
};

struct ComparedProcess {
    /// Empty if there is only one.
    std::string key;
    /// 'a' or 'b' if only that side has the process; otherwise 0.
    char onlyIn = 0;
    /// All files and variables are equal; the answers were not computed.
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

/// @throws UsageError if a query does not accept its arguments, or the sides do not match.
Comparison compare(Side& a, Side& b, const std::vector<AskedQuery>& asked, bool revealSecrets);

std::string comparisonTable(const Comparison& comparison, std::size_t width, bool color);
/// Tab-separated: "-" for A or "+" for B, process, query, answer, reason, place.
std::string comparisonPlain(const Comparison& comparison);
Json::Value toJson(const Comparison& comparison);
std::string comparisonJson(const Comparison& comparison);

} // namespace sysconfctl
