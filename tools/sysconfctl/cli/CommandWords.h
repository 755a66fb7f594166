// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace sysconfctl {

/// CLI11 expects that. Only --version stays, if it is given before the command.
std::vector<std::string> commandFirst(std::vector<std::string> words);

/// @throws UsageError with commands that are likely meant, or the command that takes such a query.
[[noreturn]] void rejectCommand(const std::string& word);

} // namespace sysconfctl
