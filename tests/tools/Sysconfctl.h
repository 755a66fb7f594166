// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Command.h"

#include <json/value.h>
#include <json/writer.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tool {

using support::CommandResult;

std::filesystem::path sourceDirectory();
std::filesystem::path samplesDirectory();

struct View {
    std::string deployment;
    std::string name;

    std::filesystem::path envFile() const;
};

std::vector<View> views();

inline const View kMaster = {"ha-pair", "master"};
inline const View kStandby = {"ha-pair", "standby"};
inline const View kEast = {"two-tenancies", "east-access-1"};
inline const View kWestData = {"two-tenancies", "west-data-2"};

support::Command sysconfctl(std::vector<std::string> arguments);
CommandResult run(std::vector<std::string> arguments);
CommandResult run(const View& view, std::vector<std::string> arguments);

/// Fails the test if it is not JSON.
Json::Value parsed(const std::string& text);

std::string readFile(const std::filesystem::path& path);
std::vector<std::string> linesOf(const std::string& text);

/// True also for a single word, such as an address or a path, which is never cut.
bool fits(const std::string& line, std::size_t columns);

} // namespace tool
