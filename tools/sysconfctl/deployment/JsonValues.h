// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "located/Document.h"

#include <json/value.h>

#include <string>

namespace sysconfctl {

/// "an object", "a text".
std::string kindOf(const Json::Value& value);

bool isScalar(const Json::Value& value);

const Json::Value& valueAt(const Json::Value& root, const located::Path& path);

} // namespace sysconfctl
