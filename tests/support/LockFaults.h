// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>

/// Makes the reader/writer locks of the library under test fail: LockFaults.cpp replaces the
/// pthread calls in the test executable.
namespace support {

enum class LockCall { Read, Write, Unlock };

/// From now on the calls of that kind fail with `error` and do nothing: a failed unlock leaves the
/// lock held. 0 ends it.
void failLockCalls(LockCall call, int error);

/// From now on unlock calls unlock but return `error`, so that the test can continue. 0 ends it.
void misreportUnlocks(int error);

/// Sets a function that is called for each lock call, on every thread. Its result is the error
/// number of the call, 0 for success. A failing lock call does nothing; a failing unlock call
/// unlocks. Null removes it.
void setLockFaultHook(int (*error)(LockCall));

/// Sets a function that a thread calls before it waits for a side of a lock and, with `held`, when
/// it has acquired it. Set it only while no thread uses a lock.
void setLockHook(std::function<void(LockCall, bool held)> hook);

/// Calls that succeeded since the start or the last reset, by kind.
struct LockCounts {
    std::size_t read = 0;
    std::size_t write = 0;
    std::size_t unlock = 0;
};
LockCounts lockCounts();
void resetLockCounts();
/// The largest number of locks that the calling thread has held at the same time since then.
std::size_t mostLocksHeldHere();

/// The read and write sides that the calling thread holds now. `unlock` is the number of its unlock
/// calls for locks that it did not hold.
LockCounts locksHeldHere();
/// Releases the locks that the calling thread still holds because unlock calls failed.
void releaseLocksHeldHere();

} // namespace support
