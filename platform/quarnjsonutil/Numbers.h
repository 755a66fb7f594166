#pragma once

#include <json/value.h>

/// The double nearest to a grammatical number: an infinity beyond the range, 0 below it. The text
/// ends with a NUL byte.
double nearestDouble(const char* text);

/// The value of the grammatical number from `first` up to the NUL byte at `last`, in the type that
/// jsoncpp's own reader gives it.
Json::Value numberValue(const char* first, const char* last);
