// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <string>

namespace Quarncommon {

/// Usage tags and families of them. These are what the queries read: strings with a destructor
/// would be gone for a thread or a static destructor that queries while the process exits.
using rules::kInternalServiceTag;
using rules::kNorthboundFamily;
using rules::kSouthboundFamily;

/// Built when the library is loaded, and destroyed when the process exits.
extern const std::string kInternalServiceUsage;
extern const std::string kSouthboundUsage;
extern const std::string kNorthboundUsage;

} // namespace Quarncommon
