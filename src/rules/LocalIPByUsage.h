#pragma once

#include <json/value.h>

#include <string>

namespace Quarncommon::rules {

/// The "IP" of the first entry that carries `tag` (lower case), "" when none does or the entry has
/// no "IP".
std::string addressByTag(const Json::Value& addresses, const std::string& tag);

} // namespace Quarncommon::rules
