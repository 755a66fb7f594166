// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>

/// Faults of the reader/writer locks of the library under test, injected from outside: the test
/// executable defines the pthread calls itself. Link LockFaults.cpp.
namespace support {

enum class LockCall { Read, Write, Unlock };

/// From now on the calls of that kind fail with `error` (0 ends it). A failing call does nothing
/// else: a failed unlock leaves the lock held.
void failLockCalls(LockCall call, int error);

/// From now on unlock calls unlock but return `error` (0 ends it), so that calls can follow a
/// failed release.
void misreportUnlocks(int error);

/// Called for each lock call, on every thread; the call returns that error number unless it is 0. A
/// failing lock call does nothing else, a failing unlock call unlocks. Null removes it.
void setLockFaultHook(int (*error)(LockCall));

/// Runs on each thread that acquires a side of a lock: before it waits and, with `held`, once it
/// has acquired it. Set it only while no thread uses a lock.
void setLockHook(std::function<void(LockCall, bool held)> hook);

/// Calls that succeeded since the start or the last reset, by kind.
struct LockCounts {
    std::size_t read = 0;
    std::size_t write = 0;
    std::size_t unlock = 0;
};
LockCounts lockCounts();
void resetLockCounts();
/// The largest number of locks that the calling thread has held at once since then.
std::size_t mostLocksHeldHere();

/// How many read and write sides the calling thread holds now. `unlock` is the number of its unlock
/// calls on a lock that it did not hold.
LockCounts locksHeldHere();
/// Releases the locks that the calling thread still holds because unlock calls failed.
void releaseLocksHeldHere();

} // namespace support
