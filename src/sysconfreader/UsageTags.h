// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <string>

namespace Quarncommon {

/// No destructors: threads and static destructors may still query while the process exits.
using rules::kInternalServiceTag;
using rules::kNorthboundFamily;
using rules::kSouthboundFamily;

/// Built when the library is loaded, and destroyed when the process exits.
extern const std::string kInternalServiceUsage;
extern const std::string kSouthboundUsage;
extern const std::string kNorthboundUsage;

} // namespace Quarncommon
