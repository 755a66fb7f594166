// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Deployment.h"

#include <string>
#include <utility>
#include <vector>

namespace support {

using Answers = std::vector<std::pair<std::string, std::string>>;

/// In the order in which the loader assigns them. The own node id is visible only in answers from
/// the node list, so this replaces that file: each node's address is its id, for the ids "node1" to
/// "node3", "source" and "".
Answers loadedValues(Deployment& deployment);

inline constexpr std::size_t kLoadedValues = 11;
inline constexpr std::size_t kFromAppConfig = 10;

Answers roleAnswers();

Answers sampleLoadedValues(int generation);
Answers noLoadedValues();
Answers sampleRoleAnswers(int generation);
Answers noRoleAnswers();

} // namespace support
