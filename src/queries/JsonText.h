// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>

namespace Quarncommon::queries {

/// Writes the value in ASCII, with escapes. Each byte that is no part of a UTF-8 character becomes
/// U+FFFD. On one line without indentation.
std::string jsonText(const Json::Value& value, const char* indentation = "");

} // namespace Quarncommon::queries
