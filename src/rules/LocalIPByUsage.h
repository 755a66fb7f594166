#pragma once

#include "rules/Node.h"

#include <string>

namespace Quarncommon::rules {

/// Returns the "IP" of the first entry that has `tag` (lower case), "" if no entry has it or that
/// entry has no "IP".
std::string addressByTag(const Node& addresses, const std::string& tag);

} // namespace Quarncommon::rules
