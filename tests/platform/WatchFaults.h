// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <climits>
#include <string>

/// Faults of the system calls of the event library, injected from outside: the test executable
/// defines the calls itself, so this header goes with WatchFaults.cpp linked in. If the executable
/// runs the event library as a shared library, only that library's calls fail.

/// The calls that can fail. The last ones are there without sanitizers only.
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

/// The next `count` of these calls fail with that error number; 0 lets them through again.
void failCalls(Call call, int error, int count = INT_MAX);
/// How many of them have not come yet.
int failuresLeft(Call call);
/// How many such calls there have been since the start, failed or not.
int callCount(Call call);

/// From now on these calls do not return until `releaseCalls`. With a path, only those of that
/// path (Lstat, Open).
void hangCalls(Call call, const std::string& path = "");
/// How many calls hang at the moment.
int hangingCalls();
void releaseCalls();

/// Whether every thread but the first one is delayed by 2 ms each time the event library has
/// released a mutex on it; without sanitizers.
void delayUnlocksOfThreads(bool delayed);
