#include "Numbers.h"

#include <cerrno>
#include <charconv>
#include <clocale>
#include <cstdlib>
#include <system_error>

namespace {

/// Built into the C library, so there is no failure, and nothing to free. Made when this library is
/// loaded: a child that is forked while another thread makes it would wait for that thread.
const locale_t kCLocale = newlocale(LC_ALL_MASK, "C", nullptr);

} // namespace

// Rather than std::from_chars, which does not tell a number too large from one too small.
double nearestDouble(const char* text) {
    const int error = errno;
    const double value = strtod_l(text, nullptr, kCLocale);
    errno = error;
    return value;
}

namespace {

template <typename Integer>
bool convert(const char* first, const char* last, Integer& number) {
    const auto [end, error] = std::from_chars(first, last, number);
    return error == std::errc() && end == last;
}

} // namespace

Json::Value numberValue(const char* first, const char* last) {
    Json::LargestInt number = 0;
    if (convert(first, last, number)) {
        return number;
    }
    Json::LargestUInt large = 0;
    if (convert(first, last, large)) {
        return large;
    }
    return nearestDouble(first);
}
