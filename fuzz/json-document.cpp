// SPDX-License-Identifier: Apache-2.0
// Any bytes: JsonDocument accepts them if JsonReader does, and gives the same answers.

#include "DocumentDifference.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string difference = documentDifference({reinterpret_cast<const char*>(data), size});
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
    return 0;
}
