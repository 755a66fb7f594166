// SPDX-License-Identifier: Apache-2.0
// Several node lists, one after the other without a reload: the library never answers from an
// earlier list. The lists are separated by a byte 0xFE, which does not occur in UTF-8. Of many
// lists the first ones are used: a list takes milliseconds, and a slow input counts as a finding.

#include "comparison/Comparison.h"
#include "comparison/SoundDeployment.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint8_t kSeparator = 0xFE;
    constexpr std::size_t kMost = 64;
    std::vector<std::string> lists;
    for (const std::uint8_t *begin = data, *const end = data + size;; ++begin) {
        const std::uint8_t* const stop = std::find(begin, end, kSeparator);
        lists.emplace_back(begin, stop);
        begin = stop;
        if (begin == end || lists.size() == kMost) {
            break;
        }
    }
    const std::string found = comparison::differenceInTurn(soundDeployment(), lists);
    if (!found.empty()) {
        std::fputs(found.c_str(), stderr);
        std::abort();
    }
    return 0;
}
