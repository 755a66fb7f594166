#pragma once

#include <cstddef>

/// Faults of the reader/writer locks of the library under test, injected from outside: the test
/// executable defines the pthread calls itself, so this header goes with LockFaults.cpp linked in.
namespace support {

enum class LockCall { Read, Write, Unlock };

/// From now on the calls of that kind fail with `error` (0 lets them through again). A failing
/// call does nothing else: a failed unlock leaves the lock held.
void failLockCalls(LockCall call, int error);

/// What has gone through since the start or the last reset: calls that succeeded, by kind.
struct LockCounts {
    std::size_t read = 0;
    std::size_t write = 0;
    std::size_t unlock = 0;
};
LockCounts lockCounts();
void resetLockCounts();

} // namespace support
