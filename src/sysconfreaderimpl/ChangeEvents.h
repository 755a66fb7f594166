// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string_view>

namespace Quarncommon {

/// The event that reports a change of the configuration files. Not a std::string, because an event
/// may be delivered while the process exits.
inline constexpr std::string_view kChangeEvent = "SysConfigEvent";

/// Set by an event that arrived inside a subscription and could not be applied there, cleared by
/// the next load of the class.
template <typename Class>
inline constinit std::atomic<bool> missedEvent{false};

/// If the calling thread is applying an event, which uses the instances, postpones the destruction
/// until the event has been applied.
bool postponedUntilApplied(void (*destroy)());

/// For a forked child, in which no other thread is applying an event.
void resetEventsAfterFork();

} // namespace Quarncommon
