// SPDX-License-Identifier: Apache-2.0
#include "Numbers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <system_error>

namespace {

/// Created at load time: a child forked while another thread creates it would block.
const locale_t kCLocale = newlocale(LC_ALL_MASK, "C", nullptr);

} // namespace

double nearestDouble(const char* first, const char* last) {
    double value = 0;
    if (std::from_chars(first, last, value).ec == std::errc()) {
        return value;
    }
    // Out of range, but std::from_chars does not report whether too large or too small. With few
    // digits, the sign of the exponent decides.
    constexpr std::ptrdiff_t kFew = 100;
    if (last - first <= kFew) {
        const bool small = std::adjacent_find(first, last, [](char a, char b) {
                               return (a == 'e' || a == 'E') && b == '-';
                           }) != last;
        const double limit = small ? 0.0 : std::numeric_limits<double>::infinity();
        return *first == '-' ? -limit : limit;
    }
    const int error = errno;
    value = strtod_l(first, nullptr, kCLocale);
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
    return {Tape::kDouble, std::bit_cast<Tape::Word>(nearestDouble(first, last))};
}

std::string textOf(double value) {
    if (!std::isfinite(value)) {
        return Json::Value(value).asString();
    }
    constexpr int kDigits = 17;
    std::array<char, 32> buffer{};
    const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                       std::chars_format::general, kDigits);
    std::string text(buffer.data(), written.ptr);
    if (text.find_first_of(".e") == std::string::npos) {
        text += ".0";
    }
    return text;
}
