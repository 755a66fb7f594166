// An unsafe function that is never called: its imports show which checks the compiler adds.

#include <cstring>

[[gnu::visibility("default")]] std::size_t lengthOfCopy(const char* text) {
    char copy[16];
    std::strcpy(copy, text);
    return std::strlen(copy);
}
