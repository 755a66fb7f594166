// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Command.h"
#include "sysconfsync/Etcd.h"

#include <filesystem>
#include <string>
#include <vector>

namespace support {

/// The tool, with all endpoints in its environment.
Command syncCommand(const Etcd& etcd, std::vector<std::string> arguments);
CommandResult runSync(const Etcd& etcd, std::vector<std::string> arguments);

std::filesystem::path copySample(const std::string& sample, const std::string& name);

std::string readText(const std::filesystem::path& path);
/// Replaces a text that must be in the file.
void replaceText(const std::filesystem::path& path, const std::string& from, const std::string& to);

} // namespace support
