// SPDX-License-Identifier: Apache-2.0
#include "follow/Decision.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <functional>

namespace sysconfsync {

Decision decide(const VersionId& applied, const std::optional<Refused>& refused,
                const VersionId& published, bool acceptOlder) {
    const bool isKnown = refused && refused->version == published && !refused->canPass;
    if (published == applied || isKnown) {
        return {};
    }
    if (published.number < 1) {
        return {Step::Refuse, fmt::format("{} is no number of a version", published.number)};
    }
    const bool isDamaged = published.number == applied.number && applied.id.empty();
    if (published.number > applied.number || acceptOlder || isDamaged) {
        return {Step::Apply};
    }
    const char* const relation =
        published.number < applied.number ? "is older than" : "differs from";
    return {Step::Refuse,
            fmt::format("version {} {} the applied version {}, as after a restored backup of etcd: "
                        "publish a newer one, or ask for this one with --accept-older",
                        published.number, relation, applied.number)};
}

std::vector<std::string> endpointsOf(const std::string& node, std::vector<std::string> endpoints) {
    const std::size_t first = std::hash<std::string>()(node) % endpoints.size();
    std::rotate(endpoints.begin(), endpoints.begin() + static_cast<std::ptrdiff_t>(first),
                endpoints.end());
    return endpoints;
}

} // namespace sysconfsync
