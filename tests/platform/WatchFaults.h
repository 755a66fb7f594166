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

/// The next `times` calls after `passed` ones fail. With `error` 0, none fails.
void failCalls(Call call, int error, int times = INT_MAX, int passed = 0);
int callCount(Call call);

/// While it exists, the thread of the event library stays in poll(), if need be after the end of
/// the call: it is not between the check of a descriptor and its use. There must be a subscription.
class HeldInPoll {
public:
    HeldInPoll();
    HeldInPoll(const HeldInPoll&) = delete;
    HeldInPoll& operator=(const HeldInPoll&) = delete;
    ~HeldInPoll();
};

/// If there is a path, only calls for it hang (Lstat, Open).
void hangCalls(Call call, const std::string& path = "");
int hangingCalls();
void releaseCalls();

/// Whenever the event library has released a mutex on it, by 2 ms. Without sanitizers.
void delayUnlocksOfThreads(bool delayed);
