// SPDX-License-Identifier: Apache-2.0
// The node list: whatever it contains, the loaders and every query that reads it answer as
// NaiveReader does.

#include "comparison/Comparison.h"
#include "comparison/SoundDeployment.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    files::Texts texts = soundDeployment();
    texts.nodeList.assign(reinterpret_cast<const char*>(data), size);
    comparison::requireSame(soundDeployment(), texts, queries::Reads::NodeList);
    return 0;
}
