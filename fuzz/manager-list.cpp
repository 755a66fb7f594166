// SPDX-License-Identifier: Apache-2.0
// The manager node list: whatever it contains, the role reader and every query that reads the list
// answer as NaiveReader does.

#include "comparison/Comparison.h"
#include "comparison/SoundDeployment.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    files::Texts texts = soundDeployment();
    texts.managerNodeList.assign(reinterpret_cast<const char*>(data), size);
    comparison::requireSame(soundDeployment(), texts, queries::Reads::ManagerNodeList);
    return 0;
}
