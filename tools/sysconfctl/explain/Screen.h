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
    /// Show all steps, with JSON pointers.
    bool verbose = false;
};

/// A row of a screen: a word, a sentence, and places beside it or, if there is no room, below it.
struct ScreenRow {
    /// Shown with the marker and in colour.
    bool decisive = false;
    std::string kind;
    /// Escaped, like the places.
    std::string sentence;
    std::vector<std::string> places;
};

/// Rows with aligned columns. No place is cut.
std::string screenRows(const std::vector<ScreenRow>& rows, const ScreenOptions& options,
                       Paint paint);

/// An explanation as text: the answer, the verdict, the advice and the deciding steps.
std::string explanationScreen(const Explanation& explanation, const Reply& reply,
                              const ScreenOptions& options);

/// The steps to show: all, or those that decide, at most eight.
std::vector<const Step*> chosenSteps(const std::vector<Step>& steps, bool verbose);

/// When the answer is decided; empty if on each call.
std::string momentSentence(const Explanation& explanation);

} // namespace sysconfctl
