// SPDX-License-Identifier: Apache-2.0
// Any app config file: loaded values and database queries give the answers of NaiveReader.

#include "comparison/Comparison.h"
#include "comparison/SoundDeployment.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    files::Texts texts = soundDeployment();
    texts.appConfig.assign(reinterpret_cast<const char*>(data), size);
    comparison::requireSame(soundDeployment(), texts, queries::Reads::Nothing);
    return 0;
}
