// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "explain/Explanation.h"

#include <optional>
#include <string>

namespace sysconfctl {

struct StepPlace {
    const SourceFile* file = nullptr;
    located::Place place;
    std::string pointer;
    bool whole = false;
};

std::optional<StepPlace> placeOf(const Step& step);

/// Relative to the working directory if that is shorter.
std::string shortPath(const std::string& path);

/// "node-1/etc/app.json:18:17", escaped; the path alone for a whole file.
std::string shownPlace(const StepPlace& place);

} // namespace sysconfctl
