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

/// With 0, none.
void failCalls(Call call, int error, int times = INT_MAX);
int callCount(Call call);

/// With a path, only those for that path (Lstat, Open).
void hangCalls(Call call, const std::string& path = "");
int hangingCalls();
void releaseCalls();

/// Whenever the event library has released a mutex on it, by 2 ms. Without sanitizers.
void delayUnlocksOfThreads(bool delayed);
