// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace Quarncommon {

/// The forks in progress. Stays above 0 in a child until the library has started again there.
inline constinit std::atomic<unsigned int> g_forks{0};

/// Starts the library again if this is a child in which that has not been done yet. Defined in
/// fork/ForkedChild.cpp, because it resets both classes.
void startInChild();

/// To be called before any wait. A child's handlers (pthread_atfork) run in the order of their
/// registration, so one of the program may call the library before the library's own handler runs.
inline void noticeFork() {
    if (g_forks.load(std::memory_order_relaxed) != 0) {
        startInChild();
    }
}

} // namespace Quarncommon
