// SPDX-License-Identifier: Apache-2.0
#include "RespelledText.h"

#include "Numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace {

constexpr std::size_t kEscapeLength = 6; // \uXXXX

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNumberCharacter(char c) {
    return isDigit(c) || c == '+' || c == '-' || c == '.' || c == 'e' || c == 'E';
}

bool take(std::string_view& text, char one, char other) {
    if (text.empty() || (text.front() != one && text.front() != other)) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

bool takeDigits(std::string_view& text) {
    const std::size_t before = text.size();
    while (!text.empty() && isDigit(text.front())) {
        text.remove_prefix(1);
    }
    return text.size() < before;
}

bool isNumber(std::string_view text) {
    take(text, '-', '-');
    if (!take(text, '0', '0') && !takeDigits(text)) {
        return false;
    }
    if (take(text, '.', '.') && !takeDigits(text)) {
        return false;
    }
    if (take(text, 'e', 'E')) {
        take(text, '+', '-');
        return takeDigits(text) && text.empty();
    }
    return text.empty();
}

/// Returns a shorter number of the same value. Its exponent makes it a realValue.
std::string shortForm(const std::string& number) {
    const double value = nearestDouble(number.c_str(), number.c_str() + number.size());
    if (std::isinf(value)) {
        return value < 0 ? "-10e308" : "10e308";
    }
    std::array<char, 32> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                       std::chars_format::scientific);
    return {digits.data(), written.ptr};
}

/// A value below the surrogates if there is no escape \uXXXX at the start of the text.
unsigned escapedUnit(std::string_view text) {
    unsigned unit = 0;
    if (text.size() >= kEscapeLength && text.starts_with("\\u")) {
        std::from_chars(text.data() + 2, text.data() + kEscapeLength, unit, 16);
    }
    return unit;
}

/// Appends the escape at the start of `text`, respelled if necessary. Returns its length in `text`.
std::size_t appendEscape(std::string_view text, std::string& copy) {
    const unsigned unit = escapedUnit(text);
    if (unit >= 0xD800 && unit < 0xDC00) {
        const unsigned next = escapedUnit(text.substr(kEscapeLength));
        if (next < 0xDC00 || next > 0xDFFF) {
            copy += '\xED';
            copy += static_cast<char>(0x80U | ((unit >> 6U) & 0x3FU));
            copy += static_cast<char>(0x80U | (unit & 0x3FU));
            return kEscapeLength;
        }
    }
    const std::string_view start = text.substr(0, 2);
    copy += start;
    return start.size();
}

/// It has hundreds of digits, or an exponent of three.
bool maySeemTooBig(std::string_view number) {
    constexpr std::size_t kHarmlessLength = 300;
    const std::size_t exponent = number.find_first_of("eE");
    return number.size() > kHarmlessLength ||
           (exponent != std::string_view::npos && number.size() - exponent > 3);
}

/// Appends the number at the start of `text`, or the one character that is not part of a number.
std::size_t appendToken(std::string_view text, std::string& copy) {
    const auto* const end = std::find_if_not(text.begin(), text.end(), isNumberCharacter);
    const std::string_view run = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    if (run.empty()) {
        copy += text.front();
        return 1;
    }
    if (maySeemTooBig(run) && isNumber(run)) {
        copy += shortForm(std::string(run));
    } else {
        copy += run;
    }
    return run.size();
}

} // namespace

std::string respelled(std::string_view text) {
    std::string copy;
    copy.reserve(text.size());
    bool quoted = false;
    while (!text.empty()) {
        std::size_t length = 1;
        if (text.front() == '"') {
            quoted = !quoted;
            copy += '"';
        } else if (!quoted) {
            length = appendToken(text, copy);
        } else if (text.front() == '\\') {
            length = appendEscape(text, copy);
        } else {
            copy += text.front();
        }
        text.remove_prefix(length);
    }
    return copy;
}
