// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Deployment.h"

#include <string>
#include <utility>
#include <vector>

namespace support {

/// Names of values, each with its text.
using Answers = std::vector<std::pair<std::string, std::string>>;

/// The loaded values of SysConfReader, in the order in which the loader assigns them. The own node
/// id is visible only in answers from the node list, so this replaces that file: each node's
/// address is its id, for the ids "node1" to "node3", "source" and "".
Answers loadedValues(Deployment& deployment);

/// How many of the loaded values the loader assigns from each file.
inline constexpr std::size_t kLoadedValues = 11;
inline constexpr std::size_t kFromAppConfig = 10;

Answers roleAnswers();

/// What is expected in a generation of SampleTexts.h, and of readers that found nothing.
Answers sampleLoadedValues(int generation);
Answers noLoadedValues();
Answers sampleRoleAnswers(int generation);
Answers noRoleAnswers();

} // namespace support
