// SPDX-License-Identifier: Apache-2.0
#include "explain/Reason.h"

#include "explain/StepPlace.h"

namespace sysconfctl {

std::optional<ReasonPlace> reasonPlaceOf(const Step& step) {
    const auto place = placeOf(step);
    if (!place) {
        return std::nullopt;
    }
    return ReasonPlace{place->file->path, place->place, place->pointer, shownPlace(*place)};
}

Reason reasonOf(const Explanation& explanation) {
    Reason reason{explanation.verdict.name, explanation.verdict.sentence,
                  explanation.verdict.advice, std::nullopt};
    for (const Step& step : explanation.steps) {
        if (step.weight != Weight::Detail && step.at) {
            reason.place = reasonPlaceOf(step);
        }
        if (step.weight == Weight::Decisive) {
            break;
        }
    }
    return reason;
}

void addPlace(Json::Value& row, const ReasonPlace& place) {
    row["file"] = place.file;
    row["line"] = static_cast<Json::UInt64>(place.place.line);
    row["column"] = static_cast<Json::UInt64>(place.place.column);
    row["pointer"] = place.pointer;
}

void addReason(Json::Value& row, const Reason& reason) {
    row["verdict"] = reason.sentence;
    row["reason"] = std::string(reason.name);
    if (!reason.advice.empty()) {
        row["advice"] = reason.advice;
    }
    if (reason.place) {
        addPlace(row, *reason.place);
    }
}

} // namespace sysconfctl
