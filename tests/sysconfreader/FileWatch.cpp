// SPDX-License-Identifier: Apache-2.0
#include "sysconfreader/FileWatch.h"

#include "support/RealFunction.h"

#include <algorithm>
#include <cstdarg>
#include <fcntl.h>
#include <map>
#include <sys/types.h>

// Replaced by symbol, because headers may define some of these functions inline.
extern "C" {
[[gnu::visibility("default")]] int replacedOpen(const char*, int, ...) __asm__("open");
[[gnu::visibility("default")]] ssize_t replacedRead(int, void*, std::size_t) __asm__("read");
[[gnu::visibility("default")]] ssize_t replacedPread(int, void*, std::size_t,
                                                     off_t) __asm__("pread");
[[gnu::visibility("default")]] int replacedClose(int) __asm__("close");

[[gnu::weak]] int __interceptor_open(const char*, int, ...);
[[gnu::weak]] ssize_t __interceptor_read(int, void*, std::size_t);
[[gnu::weak]] ssize_t __interceptor_pread(int, void*, std::size_t, off_t);
[[gnu::weak]] int __interceptor_close(int);
}

namespace {

struct Watch {
    support::FileWatcher watcher;
    std::size_t readLimit = static_cast<std::size_t>(-1);
    bool inside = false;
    std::map<int, std::string> paths;

    void notify(support::FileCall call, const std::string& path) {
        inside = true;
        watcher(call, path);
        inside = false;
    }
};

thread_local Watch* t_watch = nullptr;

Watch* watch() {
    return t_watch != nullptr && !t_watch->inside ? t_watch : nullptr;
}

Watch* watchOf(int descriptor) {
    Watch* watching = watch();
    return watching != nullptr && watching->paths.contains(descriptor) ? watching : nullptr;
}

} // namespace

int replacedOpen(const char* path, int flags, ...) {
    unsigned int mode = 0;
    if ((flags & O_CREAT) != 0) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, unsigned int);
        va_end(arguments);
    }
    const auto real = support::realFunction(&__interceptor_open, "open");
    Watch* watching = watch();
    if (watching == nullptr) {
        return real(path, flags, mode);
    }
    watching->notify(support::FileCall::Open, path);
    const int descriptor = real(path, flags, mode);
    if (descriptor >= 0) {
        watching->paths[descriptor] = path;
    }
    return descriptor;
}

ssize_t replacedRead(int descriptor, void* buffer, std::size_t size) {
    if (Watch* watching = watchOf(descriptor)) {
        watching->notify(support::FileCall::Read, watching->paths[descriptor]);
        size = std::min(size, watching->readLimit);
    }
    return support::realFunction(&__interceptor_read, "read")(descriptor, buffer, size);
}

ssize_t replacedPread(int descriptor, void* buffer, std::size_t size, off_t offset) {
    if (Watch* watching = watchOf(descriptor)) {
        watching->notify(support::FileCall::Read, watching->paths[descriptor]);
        size = std::min(size, watching->readLimit);
    }
    return support::realFunction(&__interceptor_pread, "pread")(descriptor, buffer, size, offset);
}

int replacedClose(int descriptor) {
    if (Watch* watching = watchOf(descriptor)) {
        watching->notify(support::FileCall::Close, watching->paths[descriptor]);
        watching->paths.erase(descriptor);
    }
    return support::realFunction(&__interceptor_close, "close")(descriptor);
}

namespace support {

FileWatch::FileWatch(FileWatcher watcher) {
    t_watch = new Watch;
    t_watch->watcher = std::move(watcher);
}

FileWatch::~FileWatch() {
    Watch* watching = t_watch;
    t_watch = nullptr;
    delete watching;
}

void FileWatch::limitReads(std::size_t bytes) {
    t_watch->readLimit = bytes;
}

} // namespace support
