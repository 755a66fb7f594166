// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Deployment.h"

#include <string>
#include <utility>
#include <vector>

namespace support {

/// What the library answers, name and text each.
using Answers = std::vector<std::pair<std::string, std::string>>;

/// What the last load of SysConfReader left, in the order in which the loader assigns it:
/// databases, maintenanceIP, localhostIP, wssIP, wssPort, localPort, corbaPort, corbaSSLPort,
/// nodeId, floatNodeId, hostTag. The own node id is visible only in answers from the node list, so
/// this replaces that file by one in which the node ids "node1" to "node3", "source" and "" differ.
Answers loadedValues(Deployment& deployment);

/// How many of the loaded values the loader assigns from each file.
inline constexpr std::size_t kLoadedValues = 11;
inline constexpr std::size_t kFromAppConfig = 10;

/// The four answers of the role reader: localIP, masterIP, standbyIP, productName.
Answers roleAnswers();

/// The role answers in the generation of SampleTexts.h, and those of a role reader that found
/// nothing.
Answers sampleRoleAnswers(int generation);
Answers noRoleAnswers();

/// The loaded values in a generation of SampleTexts.h, and those of a reader that found nothing.
Answers sampleLoadedValues(int generation);
Answers noLoadedValues();

} // namespace support
