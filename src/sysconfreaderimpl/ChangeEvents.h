#pragma once

#include <string>

namespace Quarncommon {

/// The event that tells of a change of the configuration files; built when the library is loaded.
extern const std::string kSysConfigEvent;

} // namespace Quarncommon
