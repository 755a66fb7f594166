// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string_view>

namespace Quarncommon {

/// Not a std::string, because an event may be delivered while the process exits.
inline constexpr std::string_view kChangeEvent = "SysConfigEvent";

/// Set by an event that finds no role reader, cleared by the next load of the class. Not cleared by
/// other threads: they would lose the event of an instance that is not published yet.
template <typename Class>
inline constinit std::atomic<bool> missedEvent{false};

/// Postpones the destruction if the calling thread is applying an event.
bool postponedUntilApplied(void (*destroy)());

/// For a forked child, in which no other thread is applying an event.
void resetEventsAfterFork();

} // namespace Quarncommon
