// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/CommandLine.h"
#include "cli/CommandTable.h"

#include <string>

namespace sysconfctl {

/// What a command line gives, before it is known whether its parts go together. Words are guarded.
struct GivenOptions {
    /// The values that need no further step.
    Options options;
    std::string envFile;
    std::string environmentA;
    std::string environmentB;
    std::string format;
    std::string file;
    bool list = false;
};

/// @throws UsageError if options or operands do not go together.
Options checkedOptions(GivenOptions given, const CommandRow& command);

} // namespace sysconfctl
