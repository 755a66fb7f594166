// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Typical faults: each is one small change to the sample pair, seen from one of its nodes.
namespace support {

/// Replaces a text that occurs exactly once.
struct Edit {
    std::string file;
    std::string from;
    std::string to;
};

struct BrokenDeployment {
    /// "south-tag-misspelt"; the names of golden files begin with it.
    std::string name;
    std::string node;
    std::vector<std::string> query;
    std::vector<Edit> edits = {};
    /// Those without a value are unset.
    std::vector<std::pair<std::string, std::optional<std::string>>> variables = {};
    std::string removed = {};
    std::string unreadable = {};
    std::vector<std::string> hostAddresses = {"192.0.2.11", "127.0.0.1"};
};

const std::vector<BrokenDeployment>& brokenDeployments();

/// @param pair The sample pair.
/// @throws std::runtime_error if an edit does not apply.
void writeDeployment(const BrokenDeployment& deployment, const std::filesystem::path& pair,
                     const std::filesystem::path& folder);

/// Its paths are relative to the folder.
std::vector<std::pair<std::string, std::optional<std::string>>>
environmentOf(const BrokenDeployment& deployment);

} // namespace support
