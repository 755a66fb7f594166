// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>

/// Makes the reader/writer locks of the library under test fail: LockFaults.cpp replaces the
/// pthread calls in the test executable.
namespace support {

enum class LockCall { Read, Write, Unlock };

/// The calls fail with `error` and do nothing: a failed unlock leaves the lock held. 0 ends it.
void failLockCalls(LockCall call, int error);

/// From now on unlock calls unlock but return `error`, so that the test can continue. 0 ends it.
void misreportUnlocks(int error);

/// Called for each lock call, on every thread. Its result is the error number of the call. A
/// failing lock call does nothing; a failing unlock call unlocks. Null removes it.
void setLockFaultHook(int (*error)(LockCall));

/// Called before a thread waits for a side of a lock and, with `held`, when it has acquired it. Set
/// it only while no thread uses a lock.
void setLockHook(std::function<void(LockCall, bool held)> hook);

/// Calls that succeeded since the start or the last reset.
struct LockCounts {
    std::size_t read = 0;
    std::size_t write = 0;
    std::size_t unlock = 0;
};
LockCounts lockCounts();
void resetLockCounts();
/// The largest number of locks that the calling thread has held at the same time since then.
std::size_t mostLocksHeldHere();

/// `unlock` is the number of unlock calls for locks that the thread did not hold.
LockCounts locksHeldHere();
/// Releases locks that the thread still holds because unlock calls failed.
void releaseLocksHeldHere();

} // namespace support
