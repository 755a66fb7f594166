// SPDX-License-Identifier: Apache-2.0
// Any manager node list: roles and the queries of that list give the answers of NaiveReader.

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
