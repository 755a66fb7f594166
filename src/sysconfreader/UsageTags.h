#pragma once

#include <string>
#include <string_view>

namespace Quarncommon {

inline constexpr std::string_view kSouthboundFamily = "southbound";

/// The families of usage tags that SysConfReader asks for, built when the library is loaded.
extern const std::string kInternalServiceUsage;
extern const std::string kSouthboundUsage;
extern const std::string kNorthboundUsage;

} // namespace Quarncommon
