#pragma once

#include "generator/JsonText.h"

#include <cstdint>
#include <filesystem>
#include <string>

/// Deployments of any size, made by a seeded generator: the same shape gives the same bytes on
/// every machine.
namespace generator {

struct Shape {
    unsigned nodes = 2;
    Layout layout = Layout::Indented;
    std::uint64_t seed = 1;
};

/// The key of the process in the app config file.
inline constexpr const char* kInstanceId = "alarm-1";

/// The own node: a master in the middle of the list. Its service address is 127.0.0.1, which is
/// no other node's.
std::string ownNodeId(unsigned nodes);

/// Pairs of a master and a standby node, in four tenancies. A node has five addresses with one or
/// two tags each and, indented, about 2.35 KB, of which most is members that no query reads.
std::string nodeList(const Shape& shape);

std::string appConfig(const Shape& shape);

/// Where a deployment's files are under its directory, which is both `APP_ROOT` and `TOLM_ROOT`.
inline constexpr const char* kAppConfigFile = "etc/app.json";
inline constexpr const char* kNodeListFile = "etc/sysconf/nodelist.json";
inline constexpr const char* kManagerNodeListFile = "etc/sysconf/nodelists.json";

/// Writes the three files; the manager knows the same nodes. They are dated back, because whoever
/// reads a file that has just been written may look at it twice.
void writeDeployment(const std::filesystem::path& directory, const Shape& shape);

} // namespace generator
