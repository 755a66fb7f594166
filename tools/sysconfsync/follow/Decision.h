// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sysconfsync {

/// A version. After a backup of etcd has been restored, a number can be published again with other
/// files and another id.
struct VersionId {
    std::int64_t number = 0;
    /// That of the info; empty for a folder whose info is missing or damaged.
    std::string id;

    bool operator==(const VersionId&) const = default;
};

struct Refused {
    VersionId version;
    /// Whether the reason can pass without a new version, such as a full disk.
    bool canPass = false;
};

enum class Step { Nothing, Apply, Refuse };

struct Decision {
    Step step = Step::Nothing;
    /// Why it is refused.
    std::string reason = {};
};

/// Decides what to do with the published version. It knows no time.
/// @param applied Number 0 if there is none.
/// @param refused What was refused last.
/// @param acceptOlder Whether an older version may replace the applied one.
Decision decide(const VersionId& applied, const std::optional<Refused>& refused,
                const VersionId& published, bool acceptOlder);

/// The endpoints in the order in which the follower of that node tries them: always the same one
/// first, and a different one for other nodes, so that followers spread over the members.
std::vector<std::string> endpointsOf(const std::string& node, std::vector<std::string> endpoints);

} // namespace sysconfsync
