// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "generator/JsonText.h"

#include <cstdint>
#include <filesystem>
#include <string>

/// Generates deployments. The same shape gives the same bytes on every machine.
namespace generator {

struct Shape {
    unsigned nodes = 2;
    Layout layout = Layout::Indented;
    std::uint64_t seed = 1;
};

inline constexpr const char* kInstanceId = "alarm-1";

/// A master in the middle of the list, and the only node with the service address 127.0.0.1.
std::string ownNodeId(unsigned nodes);

/// Pairs of a master and a standby node in four tenancies. A node has five addresses with one or
/// two tags each, and takes about 2.35 KB of indented text, most of it members that no query reads.
std::string nodeList(const Shape& shape);

std::string appConfig(const Shape& shape);

/// Paths of the files below the deployment's directory, which is both `APP_ROOT` and `TOLM_ROOT`.
inline constexpr const char* kAppConfigFile = "etc/app.json";
inline constexpr const char* kNodeListFile = "etc/sysconf/nodelist.json";
inline constexpr const char* kManagerNodeListFile = "etc/sysconf/nodelists.json";

/// Writes the three files; both node lists have the same nodes. The files get old time stamps,
/// because the library reads a new file twice.
void writeDeployment(const std::filesystem::path& directory, const Shape& shape);

} // namespace generator
