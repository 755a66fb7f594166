#include "FailingAllocation.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SANITIZED 1
#endif
#endif

namespace {

constexpr long kNever = -1;
thread_local long left = kNever;
thread_local bool failed = false;

bool failsNow() {
    if (left == kNever || left-- > 0) {
        return false;
    }
    left = kNever;
    failed = true;
    return true;
}

} // namespace

FailingAllocation::FailingAllocation(unsigned before) {
    failed = false;
    left = static_cast<long>(before);
}

FailingAllocation::~FailingAllocation() {
    left = kNever;
}

bool FailingAllocation::hasFailed() const {
    return failed;
}

#ifdef SANITIZED

void* operator new(std::size_t size) {
    void* memory = failsNow() ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

#else

extern "C" {
// The C library's own names for what is replaced here.
void* __libc_malloc(std::size_t size);                // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* memory, std::size_t size); // NOLINT(bugprone-reserved-identifier)

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
    if (failsNow()) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_malloc(size);
}

void* realloc(void* memory, std::size_t size) {
    if (failsNow()) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_realloc(memory, size);
}
}

#endif
