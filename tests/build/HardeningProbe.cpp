// A function that is as careless as one can be: what the compiler makes of it tells which checks it
// adds. Nobody calls it.

#include <cstring>

[[gnu::visibility("default")]] std::size_t lengthOfCopy(const char* text) {
    char copy[16];
    std::strcpy(copy, text);
    return std::strlen(copy);
}
