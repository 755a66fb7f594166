// SPDX-License-Identifier: Apache-2.0
// With _FORTIFY_SOURCE a compiler may call these functions of glibc instead of the plain ones;
// which, depends on the compiler and glibc. Here they call the plain ones, which tests replace.
#undef _FORTIFY_SOURCE // otherwise they would call themselves

#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#define FORTIFIED(result, function, ...)                                                           \
    extern "C"                                                                                     \
        [[gnu::visibility("default")]] result plain_##function(__VA_ARGS__) __asm__(#function);    \
    result plain_##function(__VA_ARGS__)

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl50-cpp,readability-identifier-naming)
FORTIFIED(int, __open_2, const char* path, int flags) {
    return ::open(path, flags);
}
FORTIFIED(int, __open64_2, const char* path, int flags) {
    return ::open(path, flags);
}
FORTIFIED(int, __openat_2, int folder, const char* path, int flags) {
    return ::openat(folder, path, flags);
}
FORTIFIED(int, __openat64_2, int folder, const char* path, int flags) {
    return ::openat(folder, path, flags);
}
FORTIFIED(ssize_t, __read_chk, int descriptor, void* buffer, std::size_t size, std::size_t) {
    return ::read(descriptor, buffer, size);
}
FORTIFIED(ssize_t, __pread_chk, int descriptor, void* buffer, std::size_t size, off_t offset,
          std::size_t) {
    return ::pread(descriptor, buffer, size, offset);
}
FORTIFIED(ssize_t, __pread64_chk, int descriptor, void* buffer, std::size_t size, off_t offset,
          std::size_t) {
    return ::pread(descriptor, buffer, size, offset);
}
FORTIFIED(ssize_t, __readlink_chk, const char* path, char* buffer, std::size_t size, std::size_t) {
    return ::readlink(path, buffer, size);
}
FORTIFIED(int, __poll_chk, pollfd* descriptors, nfds_t number, int timeout, std::size_t) {
    return ::poll(descriptors, number, timeout);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl50-cpp,readability-identifier-naming)
