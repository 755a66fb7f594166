// SPDX-License-Identifier: Apache-2.0
#include "explain/StepPlace.h"

#include "deployment/CallerDirectory.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <filesystem>

namespace sysconfctl {

std::optional<StepPlace> placeOf(const Step& step) {
    if (!step.at) {
        return std::nullopt;
    }
    const Spot& spot = *step.at;
    const located::Document& document = spot.file->document;
    if (spot.offset) {
        return StepPlace{spot.file, document.place(*spot.offset), located::pointer(spot.path)};
    }
    const located::Value* const value = document.find(spot.path);
    if (value == nullptr) {
        return std::nullopt;
    }
    return StepPlace{spot.file, document.place(value->begin), located::pointer(spot.path),
                     spot.path.empty() && step.kind == "file"};
}

std::string shortPath(const std::string& path) {
    namespace fs = std::filesystem;
    const fs::path here = callerDirectory();
    if (here.empty() || path.empty() || path.front() != '/') {
        return path;
    }
    std::string relative = fs::path(path).lexically_relative(here).string();
    return !relative.empty() && relative.size() < path.size() ? relative : path;
}

std::string shownPlace(const StepPlace& place) {
    const std::string path = escaped(shortPath(place.file->path));
    return place.whole ? path : fmt::format("{}:{}:{}", path, place.place.line, place.place.column);
}

} // namespace sysconfctl
