// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "explain/Explanation.h"
#include "query/Reply.h"
#include "render/Color.h"

#include <cstddef>
#include <string>
#include <vector>

namespace sysconfctl {

struct ScreenOptions {
    std::size_t width = 80;
    bool color = false;
    bool verbose = false;
};

/// The places are beside the sentence or, if there is no room, below it.
struct ScreenRow {
    bool decisive = false;
    std::string kind;
    /// Escaped, like the places.
    std::string sentence;
    std::vector<std::string> places;
};

/// Rows with aligned columns. No place is cut.
std::string screenRows(const std::vector<ScreenRow>& rows, const ScreenOptions& options,
                       Paint paint);

std::string explanationScreen(const Explanation& explanation, const Reply& reply,
                              const ScreenOptions& options);

/// All, or those that decide, at most eight.
std::vector<const Step*> chosenSteps(const std::vector<Step>& steps, bool verbose);

/// Empty if the answer is decided on each call.
std::string momentSentence(const Explanation& explanation);

} // namespace sysconfctl
