// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "explain/Explanation.h"
#include "query/Reply.h"

#include <cstddef>
#include <string>

namespace sysconfctl {

struct ScreenOptions {
    std::size_t width = 80;
    bool color = false;
    /// Show all steps, with JSON pointers.
    bool verbose = false;
};

/// An explanation for a reader: the answer, the verdict, what to do, and the deciding steps.
std::string explanationScreen(const Explanation& explanation, const Reply& reply,
                              const ScreenOptions& options);

/// When the answer is decided; empty if on each call.
std::string momentSentence(const Explanation& explanation);

} // namespace sysconfctl
