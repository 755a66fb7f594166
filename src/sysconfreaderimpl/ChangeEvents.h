#pragma once

#include <string>

namespace Quarncommon {

/// The event that tells of a change of the configuration files; built when the library is loaded.
extern const std::string kSysConfigEvent;

/// For a forked child: no event is being applied in it, whatever the parent's threads were doing.
void forgetEventsOfOtherThreads();

} // namespace Quarncommon
