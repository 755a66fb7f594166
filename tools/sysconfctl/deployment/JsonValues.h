// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "located/Document.h"

#include <json/value.h>

#include <string>

namespace sysconfctl {

/// Returns what a value is, in words: "an object", "a text".
std::string kindOf(const Json::Value& value);

/// Returns the value at the end of a path, null if there is none.
const Json::Value& valueAt(const Json::Value& root, const located::Path& path);

} // namespace sysconfctl
