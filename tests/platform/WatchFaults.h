// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <climits>
#include <string>

/// Makes system calls of the event library fail: WatchFaults.cpp replaces them in the test
/// executable. If the event library is a shared library, only its calls fail.

enum class Call {
    AddWatch,
    InotifyInit,
    Pipe,
    Poll,
    // Without sanitizers:
    Close,
    Fcntl,
    Fstat,
    Ioctl,
    Lstat,
    Open,
    Read,
    Readlink,
    RegisterFork,
    ThreadCreate,
    Write,
};

/// The next `times` of these calls fail with that error number; with 0, none.
void failCalls(Call call, int error, int times = INT_MAX);
/// The number of calls since the start, failed ones included.
int callCount(Call call);

/// From now on these calls do not return until `releaseCalls`. With a path, only those for that
/// path (Lstat, Open).
void hangCalls(Call call, const std::string& path = "");
int hangingCalls();
void releaseCalls();

/// Delays every thread except the first one by 2 ms whenever the event library has released a mutex
/// on it. Without sanitizers.
void delayUnlocksOfThreads(bool delayed);
