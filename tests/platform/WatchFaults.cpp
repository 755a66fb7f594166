// SPDX-License-Identifier: Apache-2.0
#include "WatchFaults.h"

#include "support/Sanitizers.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

struct Fault {
    std::atomic<int> error{0};
    std::atomic<int> passed{0};
    std::atomic<int> left{0};
    std::atomic<int> calls{0};
};

constinit std::array<Fault, 16> g_faults{};

constinit std::atomic<int> g_threadsInPoll{0};
constinit std::atomic<bool> g_heldInPoll{false};
constinit std::atomic<int> g_hangingCall{-1};
constinit std::atomic<int> g_hanging{0};
constinit std::atomic<bool> g_unlocksDelayed{false};
std::mutex g_pathMutex;
std::string& hangingPath() {
    static std::string& path = *new std::string;
    return path;
}

/// The code of the event library; all code if it is no shared library.
struct Code {
    std::uintptr_t from = 0;
    std::uintptr_t to = UINTPTR_MAX;
};

Code codeOfTheEventLibrary() {
    Code code;
    ::dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t /*size*/, void* found) {
            if (!std::string_view(info->dlpi_name).ends_with("/libeventcbutil.so")) {
                return 0;
            }
            for (int i = 0; i < info->dlpi_phnum; ++i) {
                const auto& header = info->dlpi_phdr[i];
                if (header.p_type == PT_LOAD && (header.p_flags & PF_X) != 0) {
                    const std::uintptr_t from = info->dlpi_addr + header.p_vaddr;
                    *static_cast<Code*>(found) = {from, from + header.p_memsz};
                }
            }
            return 1;
        },
        &code);
    return code;
}

bool ofTheEventLibrary(const void* caller) {
    static const Code code = codeOfTheEventLibrary();
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    return address >= code.from && address < code.to;
}

Fault& fault(Call call) {
    return g_faults[static_cast<std::size_t>(call)];
}

bool takeOne(std::atomic<int>& counter) {
    int left = counter;
    while (left > 0) {
        if (counter.compare_exchange_weak(left, left - 1)) {
            return true;
        }
    }
    return false;
}

bool refused(Call call, const void* caller) {
    Fault& its = fault(call);
    if (!ofTheEventLibrary(caller)) {
        return false;
    }
    ++its.calls;
    if (takeOne(its.passed) || !takeOne(its.left)) {
        return false;
    }
    errno = its.error;
    return true;
}

} // namespace

void failCalls(Call call, int error, int times, int passed) {
    fault(call).left = 0;
    fault(call).passed = passed;
    fault(call).error = error;
    fault(call).left = error != 0 ? times : 0;
}

int callCount(Call call) {
    return fault(call).calls;
}

HeldInPoll::HeldInPoll() {
    g_heldInPoll = true;
    while (g_threadsInPoll == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

HeldInPoll::~HeldInPoll() {
    g_heldInPoll = false;
    g_heldInPoll.notify_all();
}

void hangCalls(Call call, const std::string& path) {
    const std::lock_guard<std::mutex> guard(g_pathMutex);
    hangingPath() = path;
    g_hangingCall = static_cast<int>(call);
}

int hangingCalls() {
    return g_hanging;
}

void releaseCalls() {
    g_hangingCall = -1;
    g_hangingCall.notify_all();
}

void delayUnlocksOfThreads(bool delayed) {
    g_unlocksDelayed = delayed;
}

#define FAULTY extern "C" [[gnu::visibility("default")]]
#define CALLER __builtin_return_address(0)

FAULTY int inotify_add_watch(int descriptor, const char* path, std::uint32_t mask) noexcept {
    return refused(Call::AddWatch, CALLER)
               ? -1
               : static_cast<int>(::syscall(SYS_inotify_add_watch, descriptor, path, mask));
}

FAULTY int inotify_init1(int flags) noexcept {
    return refused(Call::InotifyInit, CALLER)
               ? -1
               : static_cast<int>(::syscall(SYS_inotify_init1, flags));
}

FAULTY int pipe2(int* ends, int flags) noexcept {
    return refused(Call::Pipe, CALLER) ? -1 : static_cast<int>(::syscall(SYS_pipe2, ends, flags));
}

FAULTY int poll(pollfd* descriptors, nfds_t number, int timeout) {
    if (refused(Call::Poll, CALLER)) {
        return -1;
    }
    // A call without a timeout only asks.
    if (!ofTheEventLibrary(CALLER) || timeout == 0) {
        return static_cast<int>(::syscall(SYS_poll, descriptors, number, timeout));
    }
    ++g_threadsInPoll;
    const auto result = static_cast<int>(::syscall(SYS_poll, descriptors, number, timeout));
    const int error = errno;
    g_heldInPoll.wait(true);
    // A HeldInPoll may begin here, and still find this thread.
    while (--g_threadsInPoll, g_heldInPoll) {
        ++g_threadsInPoll;
        g_heldInPoll.wait(true);
    }
    errno = error;
    return result;
}

// Sanitizers call these before they can run instrumented code.
#ifndef SANITIZED

namespace {

void hang(Call call, const void* caller, const char* path = "") {
    const int number = static_cast<int>(call);
    if (g_hangingCall != number || !ofTheEventLibrary(caller)) {
        return;
    }
    {
        const std::lock_guard<std::mutex> guard(g_pathMutex);
        if (!hangingPath().empty() && hangingPath() != path) {
            return;
        }
    }
    ++g_hanging;
    while (g_hangingCall == number) {
        g_hangingCall.wait(number);
    }
    --g_hanging;
}

} // namespace

FAULTY int close(int descriptor) {
    // Like Linux, which releases the descriptor whatever close() returns.
    const bool fails = refused(Call::Close, CALLER);
    const int error = errno;
    const auto result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (fails) {
        errno = error;
        return -1;
    }
    return result;
}

FAULTY int fcntl(int descriptor, int command, ...) {
    va_list rest;
    va_start(rest, command);
    const auto argument = va_arg(rest, long);
    va_end(rest);
    return refused(Call::Fcntl, CALLER)
               ? -1
               : static_cast<int>(::syscall(SYS_fcntl, descriptor, command, argument));
}

FAULTY int fstat(int descriptor, struct stat* status) noexcept {
    return refused(Call::Fstat, CALLER)
               ? -1
               : static_cast<int>(::syscall(SYS_fstat, descriptor, status));
}

FAULTY int lstat(const char* path, struct stat* status) noexcept {
    hang(Call::Lstat, CALLER, path);
    return refused(Call::Lstat, CALLER) ? -1 : static_cast<int>(::syscall(SYS_lstat, path, status));
}

FAULTY int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, unsigned int);
    va_end(rest);
    hang(Call::Open, CALLER, path);
    return refused(Call::Open, CALLER)
               ? -1
               : static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

FAULTY ssize_t read(int descriptor, void* bytes, std::size_t size) {
    hang(Call::Read, CALLER);
    return refused(Call::Read, CALLER) ? -1 : ::syscall(SYS_read, descriptor, bytes, size);
}

FAULTY ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    return refused(Call::Write, CALLER) ? -1 : ::syscall(SYS_write, descriptor, bytes, size);
}

FAULTY ssize_t readlink(const char* path, char* bytes, std::size_t size) noexcept {
    return refused(Call::Readlink, CALLER) ? -1 : ::syscall(SYS_readlink, path, bytes, size);
}

FAULTY int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return refused(Call::Ioctl, CALLER)
               ? -1
               : static_cast<int>(::syscall(SYS_ioctl, descriptor, request, argument));
}

FAULTY int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*work)(void*),
                          void* argument) noexcept {
    static auto* const real =
        reinterpret_cast<decltype(&::pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
    return refused(Call::ThreadCreate, CALLER) ? errno : real(thread, attributes, work, argument);
}

FAULTY int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    static auto* const real = reinterpret_cast<decltype(&::pthread_mutex_unlock)>(
        ::dlsym(RTLD_NEXT, "pthread_mutex_unlock"));
    const int result = real(mutex);
    if (g_unlocksDelayed && ofTheEventLibrary(CALLER) && ::gettid() != ::getpid()) {
        ::usleep(2000);
    }
    return result;
}

// Called by pthread_atfork.
FAULTY int __register_atfork(void (*prepare)(), void (*parent)(), void (*child)(), void* library) {
    static auto* const real =
        reinterpret_cast<decltype(&__register_atfork)>(::dlsym(RTLD_NEXT, "__register_atfork"));
    return refused(Call::RegisterFork, CALLER) ? errno : real(prepare, parent, child, library);
}

#endif
