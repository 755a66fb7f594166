#pragma once

#include <cstddef>
#include <functional>

/// Faults of the reader/writer locks of the library under test, injected from outside: the test
/// executable defines the pthread calls itself, so this header goes with LockFaults.cpp linked in.
namespace support {

enum class LockCall { Read, Write, Unlock };

/// From now on the calls of that kind fail with `error` (0 lets them through again). A failing
/// call does nothing else: a failed unlock leaves the lock held.
void failLockCalls(LockCall call, int error);

/// From now on unlock calls do unlock, but answer `error` (0 ends it), so that a failed release can
/// be followed by further calls.
void misreportUnlocks(int error);

/// Run by each thread that asks for a side of a lock: before it waits for it, and, `held`, when it
/// has got it. To be set while nobody asks.
void setLockHook(std::function<void(LockCall, bool held)> hook);

/// What has gone through since the start or the last reset: calls that succeeded, by kind.
struct LockCounts {
    std::size_t read = 0;
    std::size_t write = 0;
    std::size_t unlock = 0;
};
LockCounts lockCounts();
void resetLockCounts();
/// The most locks that the calling thread has held at once since then.
std::size_t mostLocksHeldHere();

/// How many locks the calling thread holds at this moment: `read` and `write` sides, `unlock`
/// counts the unlock calls on a lock that it did not hold.
LockCounts locksHeldHere();
/// Unlocks what failed unlocks have left held by the calling thread.
void releaseLocksHeldHere();

} // namespace support
