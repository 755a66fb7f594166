// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// Makes calls of the C library fail, once or for a while: the test executable replaces them and
/// records the calls. Link CallFaults.cpp, AllocationFaults.cpp, LockFaults.cpp and
/// HostAddresses.cpp. Not available under sanitizers, whose runtimes use some of these calls before
/// they can run instrumented code.
namespace support {

enum class Call {
    Allocate,
    Open,
    Read,
    Fstat,
    Lstat,
    Readlink,
    InotifyInit,
    InotifyAddWatch,
    InotifyRmWatch,
    Eventfd,
    Pipe,
    Fcntl,
    Poll,
    Ioctl,
    CreateThread,
    RegisterAtFork,
    OpenLibrary,
    ListAddresses,
    ReadLock,
    WriteLock,
    Unlock
};
inline constexpr std::size_t kCalls = static_cast<std::size_t>(Call::Unlock) + 1;

/// Calls `first` to `first + calls - 1` (from 1) of that kind fail, on all threads under test.
struct CallFault {
    Call call;
    int error;
    std::size_t first;
    std::size_t calls;
};

inline constexpr std::size_t kUntilReleased = static_cast<std::size_t>(-1) / 2;

/// Starts counting from 1, and replaces an earlier fault.
void arm(const CallFault& fault);
/// Calls are still counted.
void release();
bool faultHappened();
/// Failed or not.
std::size_t callCount(Call call);

/// While one exists, calls of its thread do not fail and are not counted. Not nested.
class NotUnderTest {
public:
    NotUnderTest();
    NotUnderTest(const NotUnderTest&) = delete;
    NotUnderTest& operator=(const NotUnderTest&) = delete;
    ~NotUnderTest();
};

} // namespace support
