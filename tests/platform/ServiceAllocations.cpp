// SPDX-License-Identifier: Apache-2.0
#include "ServiceAllocations.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constinit std::atomic<bool> g_armed{false};
constinit std::atomic<bool> g_failed{false};
constinit std::atomic<bool> g_first{false};
constinit std::atomic<int> g_skip{0};
constinit std::atomic<int> g_count{0};

bool failsNow() {
    if (!g_armed || (::syscall(SYS_gettid) == ::getpid()) != g_first) {
        return false;
    }
    if (g_skip-- > 0) {
        return false;
    }
    if (g_count-- <= 0) {
        return false;
    }
    g_failed = true;
    errno = ENOMEM;
    return true;
}

} // namespace

void failAllocations(Threads threads, int skip, int calls) {
    g_failed = false;
    g_first = threads == Threads::First;
    g_skip = skip;
    g_count = calls;
    g_armed = true;
}

bool stopFailingAllocations() {
    g_armed = false;
    return g_failed;
}

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
    return failsNow() ? nullptr : __libc_malloc(size);
}

[[gnu::visibility("default")]] void* calloc(std::size_t number, std::size_t size) {
    return failsNow() ? nullptr : __libc_calloc(number, size);
}

[[gnu::visibility("default")]] void* realloc(void* memory, std::size_t size) {
    return failsNow() ? nullptr : __libc_realloc(memory, size);
}
}
