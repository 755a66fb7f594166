#pragma once

#include <string>
#include <string_view>

namespace Quarncommon {

/// Usage tags and families of them. These are what the queries read: strings with a destructor
/// would be gone for a thread or a static destructor that queries while the process exits.
inline constexpr std::string_view kInternalServiceTag = "internal_service";
inline constexpr std::string_view kSouthboundFamily = "southbound";
inline constexpr std::string_view kNorthboundFamily = "northbound";

/// Built when the library is loaded, and destroyed when the process exits.
extern const std::string kInternalServiceUsage;
extern const std::string kSouthboundUsage;
extern const std::string kNorthboundUsage;

} // namespace Quarncommon
