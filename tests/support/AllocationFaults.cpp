// SPDX-License-Identifier: Apache-2.0
#include "support/AllocationFaults.h"

#include "support/Sanitizers.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

namespace {

// Constant-initialised: these are used before any constructor has run.
thread_local bool t_armed = false;
thread_local bool t_persistent = false;
thread_local bool t_happened = false;
thread_local std::size_t t_left = 0;
thread_local std::size_t t_requested = 0;
constinit std::atomic<bool (*)()> g_hook{nullptr};

bool failsNow(std::size_t size) {
    t_requested += size;
    if (const auto hook = g_hook.load(); hook != nullptr && hook()) {
        return true;
    }
    if (!t_armed || --t_left != 0) {
        return false;
    }
    t_happened = true;
    t_armed = t_persistent;
    t_left = 1;
    return true;
}

} // namespace

namespace support {

AllocationFault::AllocationFault(std::size_t which, Shortage shortage) {
    t_happened = false;
    t_persistent = shortage == Shortage::FromThereOn;
    t_left = which;
    t_armed = true;
}

AllocationFault::~AllocationFault() {
    t_armed = false;
}

bool AllocationFault::happened() const {
    return t_happened;
}

std::size_t requestedBytes() {
    return t_requested;
}

void setAllocationHook(bool (*fails)()) {
    g_hook = fails;
}

} // namespace support

#ifdef SANITIZED

extern "C" {
[[gnu::visibility("default")]] void* failingNewNoThrow(std::size_t size) noexcept {
    return failsNow(size) ? nullptr : std::malloc(size != 0 ? size : 1);
}

[[gnu::visibility("default")]] void* failingNew(std::size_t size) {
    for (;;) {
        if (void* memory = failingNewNoThrow(size)) {
            return memory;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc();
        }
        handler();
    }
}
}

#ifndef NEW_IS_REPLACED_BY_THE_LINKER

// Every form without alignment: a sanitizer's own `delete` does not match these `new`s.
void* operator new(std::size_t size) {
    return failingNew(size);
}
void* operator new[](std::size_t size) {
    return failingNew(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return failingNewNoThrow(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return failingNewNoThrow(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

#endif

#else

// `new` calls malloc, so one replacement serves both.
extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t number, std::size_t size); // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* memory, std::size_t size);      // NOLINT(bugprone-reserved-identifier)

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
    if (failsNow(size)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_malloc(size);
}

[[gnu::visibility("default")]] void* calloc(std::size_t number, std::size_t size) {
    if (failsNow(number * size)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_calloc(number, size);
}

[[gnu::visibility("default")]] void* realloc(void* memory, std::size_t size) {
    if (failsNow(size)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_realloc(memory, size);
}
}

#endif
