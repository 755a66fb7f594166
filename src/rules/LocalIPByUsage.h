#pragma once

#include "rules/Node.h"

#include <string>

namespace Quarncommon::rules {

/// The "IP" of the first entry that carries `tag` (lower case), "" when none does or the entry has
/// no "IP".
std::string addressByTag(const Node& addresses, const std::string& tag);

} // namespace Quarncommon::rules
