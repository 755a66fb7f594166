// SPDX-License-Identifier: Apache-2.0
// Unsafe functions, never run: their code shows the checks that the compiler adds.

#include <cstdlib>
#include <cstring>
#include <vector>

[[gnu::visibility("default")]] std::size_t lengthOfCopy(const char* text) {
    char copy[16];
    std::strcpy(copy, text);
    return std::strlen(copy);
}

[[gnu::visibility("default")]] char* copyOf(const char* bytes, std::size_t size) {
    auto* const copy = static_cast<char*>(std::malloc(size));
    std::memcpy(copy, bytes, 2 * size);
    return copy;
}

[[gnu::visibility("default")]] int elementOf(const std::vector<int>& values, std::size_t index) {
    return values[index];
}
