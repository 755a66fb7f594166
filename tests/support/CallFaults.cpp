// SPDX-License-Identifier: Apache-2.0
#include "support/CallFaults.h"

#include "support/AllocationFaults.h"
#include "support/HostAddresses.h"
#include "support/LockFaults.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <dlfcn.h>
#include <linux/stat.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/types.h>

// The replaced functions have other names here, and <fcntl.h>, <poll.h>, <sys/stat.h> and
// <unistd.h> are not included, because these headers may define the functions inline.
struct stat;
extern "C" long syscall(long number, ...) noexcept;

namespace {

using support::Call;

// Constant-initialised: used before any constructor has run.
thread_local bool t_notUnderTest = false;
constinit std::atomic<int> g_call{-1};
constinit std::atomic<int> g_error{0};
constinit std::atomic<std::size_t> g_first{0};
constinit std::atomic<std::size_t> g_end{0};
constinit std::atomic<bool> g_happened{false};
constinit std::array<std::atomic<std::size_t>, support::kCalls> g_counts{};

int errorOf(Call call) {
    if (t_notUnderTest) {
        return 0;
    }
    const std::size_t number = ++g_counts[static_cast<std::size_t>(call)];
    if (g_call != static_cast<int>(call) || number < g_first || number >= g_end) {
        return 0;
    }
    g_happened = true;
    return g_error;
}

bool fails(Call call) {
    const int error = errorOf(call);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

bool allocationFails() {
    return errorOf(Call::Allocate) != 0;
}

int lockError(support::LockCall kind) {
    switch (kind) {
    case support::LockCall::Read:
        return errorOf(Call::ReadLock);
    case support::LockCall::Write:
        return errorOf(Call::WriteLock);
    default:
        return errorOf(Call::Unlock);
    }
}

int addressesError() {
    return errorOf(Call::ListAddresses);
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

using CreateThreadFunction = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
using OpenLibraryFunction = void*(const char*, int);
using RegisterAtForkFunction = int(void (*)(), void (*)(), void (*)(), void*);

// Looked up in advance, so that the calls of a lookup are not counted with those under test.
CreateThreadFunction* const g_createThread = next<CreateThreadFunction>("pthread_create");
OpenLibraryFunction* const g_openLibrary = next<OpenLibraryFunction>("dlopen");
RegisterAtForkFunction* const g_registerAtFork = next<RegisterAtForkFunction>("__register_atfork");

template <typename... Arguments>
int kernel(Call call, long number, Arguments... arguments) {
    return fails(call) ? -1 : static_cast<int>(::syscall(number, arguments...));
}

ssize_t kernelRead(int descriptor, void* buffer, std::size_t size) {
    return fails(Call::Read) ? -1 : ::syscall(SYS_read, descriptor, buffer, size);
}

ssize_t kernelPread(int descriptor, void* buffer, std::size_t size, off_t offset) {
    return fails(Call::Read) ? -1 : ::syscall(SYS_pread64, descriptor, buffer, size, offset);
}

ssize_t kernelReadlink(const char* path, char* buffer, std::size_t size) {
    return fails(Call::Readlink) ? -1 : ::syscall(SYS_readlink, path, buffer, size);
}

int openFile(const char* path, int flags, unsigned int mode) {
    return kernel(Call::Open, SYS_open, path, flags, mode);
}

int openFileAt(int folder, const char* path, int flags, unsigned int mode) {
    return kernel(Call::Open, SYS_openat, folder, path, flags, mode);
}

/// The optional third argument. If it was not passed, the value is not used.
#define OPTIONAL_ARGUMENT(type, name, last)                                                        \
    std::va_list rest;                                                                             \
    va_start(rest, last);                                                                          \
    type const name = va_arg(rest, type);                                                          \
    va_end(rest)

} // namespace

#define REPLACED(result, function, ...)                                                            \
    extern "C"                                                                                     \
        [[gnu::visibility("default")]] result replaced_##function(__VA_ARGS__) __asm__(#function); \
    result replaced_##function(__VA_ARGS__)

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl50-cpp,readability-identifier-naming)
REPLACED(int, open, const char* path, int flags, ...) {
    OPTIONAL_ARGUMENT(unsigned int, mode, flags);
    return openFile(path, flags, mode);
}
REPLACED(int, open64, const char* path, int flags, ...) {
    OPTIONAL_ARGUMENT(unsigned int, mode, flags);
    return openFile(path, flags, mode);
}
REPLACED(int, openat, int folder, const char* path, int flags, ...) {
    OPTIONAL_ARGUMENT(unsigned int, mode, flags);
    return openFileAt(folder, path, flags, mode);
}
REPLACED(int, openat64, int folder, const char* path, int flags, ...) {
    OPTIONAL_ARGUMENT(unsigned int, mode, flags);
    return openFileAt(folder, path, flags, mode);
}
REPLACED(ssize_t, read, int descriptor, void* buffer, std::size_t size) {
    return kernelRead(descriptor, buffer, size);
}
REPLACED(ssize_t, pread, int descriptor, void* buffer, std::size_t size, off_t offset) {
    return kernelPread(descriptor, buffer, size, offset);
}
REPLACED(ssize_t, pread64, int descriptor, void* buffer, std::size_t size, off_t offset) {
    return kernelPread(descriptor, buffer, size, offset);
}
REPLACED(int, fstat, int descriptor, struct stat* status) {
    return kernel(Call::Fstat, SYS_fstat, descriptor, status);
}
REPLACED(int, fstat64, int descriptor, struct stat* status) {
    return kernel(Call::Fstat, SYS_fstat, descriptor, status);
}
REPLACED(int, lstat, const char* path, struct stat* status) {
    return kernel(Call::Lstat, SYS_lstat, path, status);
}
REPLACED(int, lstat64, const char* path, struct stat* status) {
    return kernel(Call::Lstat, SYS_lstat, path, status);
}
REPLACED(ssize_t, readlink, const char* path, char* buffer, std::size_t size) {
    return kernelReadlink(path, buffer, size);
}
REPLACED(int, inotify_init1, int flags) {
    return kernel(Call::InotifyInit, SYS_inotify_init1, flags);
}
REPLACED(int, inotify_add_watch, int descriptor, const char* path, std::uint32_t mask) {
    return kernel(Call::InotifyAddWatch, SYS_inotify_add_watch, descriptor, path, mask);
}
REPLACED(int, inotify_rm_watch, int descriptor, int watch) {
    return kernel(Call::InotifyRmWatch, SYS_inotify_rm_watch, descriptor, watch);
}
REPLACED(int, eventfd, unsigned int value, int flags) {
    return kernel(Call::Eventfd, SYS_eventfd2, value, flags);
}
REPLACED(int, pipe2, int* ends, int flags) {
    return kernel(Call::Pipe, SYS_pipe2, ends, flags);
}
REPLACED(int, fcntl, int descriptor, int command, ...) {
    OPTIONAL_ARGUMENT(void*, argument, command);
    return kernel(Call::Fcntl, SYS_fcntl, descriptor, command, argument);
}
REPLACED(int, fcntl64, int descriptor, int command, ...) {
    OPTIONAL_ARGUMENT(void*, argument, command);
    return kernel(Call::Fcntl, SYS_fcntl, descriptor, command, argument);
}
REPLACED(int, poll, void* descriptors, unsigned long number, int timeout) {
    return kernel(Call::Poll, SYS_poll, descriptors, number, timeout);
}
REPLACED(int, ioctl, int descriptor, unsigned long request, ...) {
    OPTIONAL_ARGUMENT(void*, argument, request);
    return kernel(Call::Ioctl, SYS_ioctl, descriptor, request, argument);
}
REPLACED(int, pthread_create, pthread_t* thread, const pthread_attr_t* attributes,
         void* (*start)(void*), void* argument) {
    const int error = errorOf(Call::CreateThread);
    return error != 0 ? error : g_createThread(thread, attributes, start, argument);
}
REPLACED(int, __register_atfork, void (*prepare)(), void (*parent)(), void (*child)(),
         void* library) {
    const int error = errorOf(Call::RegisterAtFork);
    // Other libraries register before the lookup above has been made.
    return error != 0 ? error
           : g_registerAtFork != nullptr
               ? g_registerAtFork(prepare, parent, child, library)
               : next<RegisterAtForkFunction>("__register_atfork")(prepare, parent, child, library);
}
REPLACED(void*, dlopen, const char* name, int flags) {
    if (errorOf(Call::OpenLibrary) != 0) {
        return nullptr;
    }
    return (g_openLibrary != nullptr ? g_openLibrary : next<OpenLibraryFunction>("dlopen"))(name,
                                                                                            flags);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl50-cpp,readability-identifier-naming)

namespace support {

void arm(const CallFault& fault) {
    release();
    for (auto& calls : g_counts) {
        calls = 0;
    }
    g_happened = false;
    g_error = fault.error;
    g_first = fault.first;
    g_end = fault.first + fault.calls;
    g_call = static_cast<int>(fault.call);
    setAllocationHook(&allocationFails);
    setLockFaultHook(&lockError);
    setHostAddressesHook(&addressesError);
}

void release() {
    g_call = -1;
}

bool faultHappened() {
    return g_happened;
}

std::size_t callCount(Call call) {
    return g_counts[static_cast<std::size_t>(call)];
}

NotUnderTest::NotUnderTest() {
    t_notUnderTest = true;
}

NotUnderTest::~NotUnderTest() {
    t_notUnderTest = false;
}

} // namespace support
