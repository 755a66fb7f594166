// SPDX-License-Identifier: Apache-2.0
// Several node lists, one after the other without a reload: what the library remembers of a list
// never answers for another one. A byte 0xFE separates the lists; it is in no UTF-8 text.

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
    std::vector<std::string> lists;
    for (const std::uint8_t *begin = data, *const end = data + size;; ++begin) {
        const std::uint8_t* const stop = std::find(begin, end, kSeparator);
        lists.emplace_back(begin, stop);
        begin = stop;
        if (begin == end) {
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
