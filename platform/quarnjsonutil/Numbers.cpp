#include "Numbers.h"

#include <bit>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cstdlib>
#include <system_error>

namespace {

/// Built into the C library: creating it cannot fail, and there is nothing to free. Created when
/// this library is loaded, because a child that is forked while another thread creates it would
/// block.
const locale_t kCLocale = newlocale(LC_ALL_MASK, "C", nullptr);

} // namespace

// std::from_chars does not distinguish a number that is too large from one that is too small.
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

Number numberOf(const char* first, const char* last) {
    std::int64_t number = 0;
    if (convert(first, last, number)) {
        return {Tape::kSigned, static_cast<Tape::Word>(number)};
    }
    std::uint64_t large = 0;
    if (convert(first, last, large)) {
        return {Tape::kUnsigned, large};
    }
    return {Tape::kDouble, std::bit_cast<Tape::Word>(nearestDouble(first))};
}
