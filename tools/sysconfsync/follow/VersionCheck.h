// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/Records.h"

#include <json/value.h>

#include <filesystem>
#include <list>
#include <string>

namespace sysconfsync {

/// A finding as in the JSON output of `sysconfctl check`, about no place.
Json::Value findingOf(const char* name, const std::string& text);

/// An array of findings: files that cannot exist beside the others. Paths that lead out of the
/// folder are rejected before, with the record of the node.
Json::Value pathFaults(const Files& files);

struct CheckOutcome {
    /// An array: errors only, because warnings do not prevent a version from being applied.
    Json::Value errors;
    /// Whether the files are correct on a host with other addresses. Addresses move between hosts
    /// without a new version, so the check is worth repeating.
    bool dependsOnHost = false;
};

CheckOutcome checkVersion(const std::filesystem::path& folder,
                          const std::list<std::string>& hostAddresses);

} // namespace sysconfsync
