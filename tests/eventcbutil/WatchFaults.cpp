#include "WatchFaults.h"

#include "support/Sanitizers.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int> g_watchError{0};
std::atomic<int> g_inotifyError{0};
std::atomic<int> g_eventfdError{0};
std::atomic<int> g_waitError{0};
std::atomic<int> g_failedWaits{0};
std::atomic<int> g_readError{0};
std::atomic<int> g_failedReads{0};
std::atomic<int> g_linkError{0};
std::atomic<int> g_countError{0};
std::atomic<int> g_forkError{0};

bool refused(int error) {
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

} // namespace

void refuseWatches(int error) {
    g_watchError = error;
}

void failWaits(int error, int count) {
    g_waitError = error;
    g_failedWaits = count;
}

int failuresLeft() {
    return g_failedWaits;
}

void failReads(int error, int count) {
    g_readError = error;
    g_failedReads = count;
}

void failLinks(int error) {
    g_linkError = error;
}

void failCounts(int error) {
    g_countError = error;
}

void refuseForkHandlers(int error) {
    g_forkError = error;
}

void refuseInotify(int error) {
    g_inotifyError = error;
}

void refuseEventfd(int error) {
    g_eventfdError = error;
}

extern "C" [[gnu::visibility("default")]] int inotify_add_watch(int descriptor, const char* path,
                                                                std::uint32_t mask) noexcept {
    return refused(g_watchError)
               ? -1
               : static_cast<int>(::syscall(SYS_inotify_add_watch, descriptor, path, mask));
}

extern "C" [[gnu::visibility("default")]] int inotify_init1(int flags) noexcept {
    return refused(g_inotifyError) ? -1 : static_cast<int>(::syscall(SYS_inotify_init1, flags));
}

extern "C" [[gnu::visibility("default")]] int eventfd(unsigned count, int flags) noexcept {
    return refused(g_eventfdError) ? -1 : static_cast<int>(::syscall(SYS_eventfd2, count, flags));
}

extern "C" [[gnu::visibility("default")]] int poll(pollfd* descriptors, nfds_t count, int timeout) {
    if (g_failedWaits > 0) {
        --g_failedWaits;
        errno = g_waitError;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_poll, descriptors, count, timeout));
}

// Sanitizers call these themselves before they are ready for what is instrumented.
#ifndef SANITIZED

extern "C" [[gnu::visibility("default")]] ssize_t read(int descriptor, void* bytes,
                                                       std::size_t size) {
    if (g_failedReads > 0) {
        --g_failedReads;
        errno = g_readError;
        return -1;
    }
    return ::syscall(SYS_read, descriptor, bytes, size);
}

extern "C" [[gnu::visibility("default")]] ssize_t readlink(const char* path, char* bytes,
                                                           std::size_t size) noexcept {
    return refused(g_linkError) ? -1 : ::syscall(SYS_readlinkat, AT_FDCWD, path, bytes, size);
}

extern "C" [[gnu::visibility("default")]] int ioctl(int descriptor, unsigned long request,
                                                    ...) noexcept {
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return refused(g_countError)
               ? -1
               : static_cast<int>(::syscall(SYS_ioctl, descriptor, request, argument));
}

// What pthread_atfork comes to.
extern "C" [[gnu::visibility("default")]] int __register_atfork(void (*prepare)(), void (*parent)(),
                                                                void (*child)(), void* library) {
    if (const int error = g_forkError) {
        return error;
    }
    auto* const real =
        reinterpret_cast<decltype(&__register_atfork)>(::dlsym(RTLD_NEXT, "__register_atfork"));
    return real(prepare, parent, child, library);
}

#endif
