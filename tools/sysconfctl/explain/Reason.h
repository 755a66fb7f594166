// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "explain/Explanation.h"

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>

namespace sysconfctl {

/// Does not depend on the sources, unlike StepPlace.
struct ReasonPlace {
    std::string file;
    located::Place place;
    std::string pointer;
    /// "node-1/etc/app.json:18:17", escaped.
    std::string shown;
};

/// Does not refer to the sources.
struct Reason {
    std::string_view name;
    std::string sentence;
    std::string advice;
    /// The place of the step that decides or, if it has none, of the last deciding step before it.
    std::optional<ReasonPlace> place;
};

std::optional<ReasonPlace> reasonPlaceOf(const Step& step);

Reason reasonOf(const Explanation& explanation);

void addPlace(Json::Value& row, const ReasonPlace& place);
/// Adds "verdict", "reason" and, where applicable, "advice", "file", "line", "column", "pointer".
void addReason(Json::Value& row, const Reason& reason);

} // namespace sysconfctl
