// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tape.h"

#include <string>

/// An infinity above the range, 0 below it.
double nearestDouble(const char* first, const char* last);

struct Number {
    Tape::Type type;
    Tape::Word bits;
};

/// Returns the grammatical number from `first` to the NUL byte at `last`: a signed 64-bit integer
/// if it is one, else an unsigned one, else a double.
Number numberOf(const char* first, const char* last);

/// Returns Json::Value(value).asString() of the C locale, several times faster.
std::string textOf(double value);
