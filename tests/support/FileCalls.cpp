// SPDX-License-Identifier: Apache-2.0
#include "support/FileCalls.h"

#include "support/RealFunction.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <string_view>
#include <sys/types.h>

// The replaced functions have other names here, and <fcntl.h> and <unistd.h> are not included,
// because these headers may define the functions inline.
extern "C" {
[[gnu::weak]] int __interceptor_open(const char*, int, ...);
[[gnu::weak]] int __interceptor_openat(int, const char*, int, ...);
[[gnu::weak]] std::FILE* __interceptor_fopen(const char*, const char*);
[[gnu::weak]] ssize_t __interceptor_read(int, void*, std::size_t);
[[gnu::weak]] ssize_t __interceptor_pread(int, void*, std::size_t, off_t);
ssize_t readlink(const char*, char*, std::size_t) noexcept;
struct stat;

[[gnu::visibility("default")]] int replacedOpen(const char*, int, ...) __asm__("open");
[[gnu::visibility("default")]] int replacedOpenat(int, const char*, int, ...) __asm__("openat");
[[gnu::visibility("default")]] std::FILE* replacedFopen(const char*, const char*) __asm__("fopen");
[[gnu::visibility("default")]] ssize_t replacedRead(int, void*, std::size_t) __asm__("read");
[[gnu::visibility("default")]] ssize_t replacedPread(int, void*, std::size_t,
                                                     off_t) __asm__("pread");
[[gnu::visibility("default")]] int replacedFstat(int, struct stat*) __asm__("fstat");

// With an off_t of 64 bits, the names for large files are other names of the same functions.
static_assert(sizeof(off_t) == 8);
[[gnu::visibility("default"), gnu::alias("open")]] int open64(const char*, int, ...);
[[gnu::visibility("default"), gnu::alias("openat")]] int openat64(int, const char*, int, ...);
[[gnu::visibility("default"), gnu::alias("fopen")]] std::FILE* fopen64(const char*, const char*);
[[gnu::visibility("default"), gnu::alias("pread")]] ssize_t pread64(int, void*, std::size_t, off_t);
[[gnu::visibility("default"), gnu::alias("fstat")]] int fstat64(int, struct stat*);
}

namespace {

struct Watch {
    std::mutex mutex;
    std::vector<support::OpenCall> opens;
    std::map<std::string, std::string> redirections;
    std::function<void(const std::string&)> openHook;
    std::string failingPath;
    std::function<int(std::size_t)> openScript;
    std::size_t scriptedOpens = 0;
    std::string disturbedPath;
    std::function<support::ReadStep(std::size_t)> readScript;
    std::size_t readCalls = 0;
    std::string unstatablePath;
    std::function<int(std::size_t)> statScript;
    std::size_t statCalls = 0;
};

Watch& watch() {
    static Watch watch;
    return watch;
}

struct OpenStep {
    std::string target;
    int error = 0;
};

OpenStep noted(const char* path, bool closeOnExec) {
    std::function<void(const std::string&)> hook;
    OpenStep step{path};
    {
        const std::lock_guard<std::mutex> guard(watch().mutex);
        watch().opens.push_back({path, closeOnExec});
        hook = watch().openHook;
        if (const auto redirected = watch().redirections.find(path);
            redirected != watch().redirections.end()) {
            step.target = redirected->second;
        }
        if (watch().openScript && watch().failingPath == path) {
            step.error = watch().openScript(watch().scriptedOpens++);
        }
    }
    if (hook) {
        hook(path);
    }
    return step;
}

template <typename Result, typename Open>
Result watchedOpen(const char* path, bool closeOnExec, Result failed, Open open) {
    if (!std::string_view(path).ends_with(".json")) {
        return open(path);
    }
    const OpenStep step = noted(path, closeOnExec);
    if (step.error != 0) {
        errno = step.error;
        return failed;
    }
    return open(step.target.c_str());
}

std::string pathOf(int descriptor) {
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    std::array<char, 4096> path{};
    return ::readlink(link.c_str(), path.data(), path.size() - 1) < 0 ? "" : path.data();
}

support::ReadStep nextStep(int descriptor) {
    const std::string path = pathOf(descriptor);
    std::function<support::ReadStep(std::size_t)> script;
    std::size_t call = 0;
    {
        const std::lock_guard<std::mutex> guard(watch().mutex);
        if (!watch().readScript || watch().disturbedPath != path) {
            return {};
        }
        script = watch().readScript;
        call = watch().readCalls++;
    }
    return script(call);
}

template <typename Stat>
int watchedStat(int descriptor, Stat real) {
    const std::string path = pathOf(descriptor);
    int error = 0;
    {
        const std::lock_guard<std::mutex> guard(watch().mutex);
        if (watch().statScript && watch().unstatablePath == path) {
            error = watch().statScript(watch().statCalls++);
        }
    }
    if (error != 0) {
        errno = error;
        return -1;
    }
    return real();
}

using OpenFunction = int(const char*, int, ...);
using OpenatFunction = int(int, const char*, int, ...);
using FopenFunction = std::FILE*(const char*, const char*);
using ReadFunction = ssize_t(int, void*, std::size_t);
using FstatFunction = int(int, struct stat*);
using PreadFunction = ssize_t(int, void*, std::size_t, off_t);

template <typename Read>
ssize_t disturbedRead(int descriptor, void* buffer, std::size_t size, Read real) {
    const support::ReadStep step = nextStep(descriptor);
    if (step.error != 0) {
        errno = step.error;
        return -1;
    }
    const std::size_t allowed = std::min(size, step.atMost);
    if (step.fill != '\0') {
        std::memset(buffer, step.fill, allowed);
        return static_cast<ssize_t>(allowed);
    }
    return real(allowed);
}

bool closesOnExec(int flags) {
    constexpr int kCloseOnExec = 02000000; // O_CLOEXEC
    return (flags & kCloseOnExec) != 0;
}

bool creates(int flags) {
    constexpr int kCreate = 0100;         // O_CREAT
    constexpr int kTemporary = 020000000; // O_TMPFILE without the directory
    return (flags & (kCreate | kTemporary)) != 0;
}

} // namespace

extern "C" {
int replacedOpen(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const unsigned int mode = creates(flags) ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    auto* real = support::realFunction<OpenFunction>(&__interceptor_open, "open");
    return watchedOpen(path, closesOnExec(flags), -1,
                       [&](const char* target) { return real(target, flags, mode); });
}

int replacedOpenat(int directory, const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const unsigned int mode = creates(flags) ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    auto* real = support::realFunction<OpenatFunction>(&__interceptor_openat, "openat");
    return watchedOpen(path, closesOnExec(flags), -1,
                       [&](const char* target) { return real(directory, target, flags, mode); });
}

std::FILE* replacedFopen(const char* path, const char* mode) {
    auto* real = support::realFunction<FopenFunction>(&__interceptor_fopen, "fopen");
    return watchedOpen<std::FILE*>(path, std::strchr(mode, 'e') != nullptr, nullptr,
                                   [&](const char* target) { return real(target, mode); });
}

ssize_t replacedRead(int descriptor, void* buffer, std::size_t size) {
    auto* real = support::realFunction<ReadFunction>(&__interceptor_read, "read");
    return disturbedRead(descriptor, buffer, size,
                         [&](std::size_t allowed) { return real(descriptor, buffer, allowed); });
}

ssize_t replacedPread(int descriptor, void* buffer, std::size_t size, off_t offset) {
    auto* real = support::realFunction<PreadFunction>(&__interceptor_pread, "pread");
    return disturbedRead(descriptor, buffer, size, [&](std::size_t allowed) {
        return real(descriptor, buffer, allowed, offset);
    });
}

int replacedFstat(int descriptor, struct stat* status) {
    auto* real = support::realFunction<FstatFunction>(nullptr, "fstat");
    return watchedStat(descriptor, [&] { return real(descriptor, status); });
}
}

namespace support {

std::vector<OpenCall> openCalls() {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    return watch().opens;
}

std::size_t openCount(const std::string& path) {
    const std::vector<OpenCall> calls = openCalls();
    return static_cast<std::size_t>(std::count_if(
        calls.begin(), calls.end(), [&](const OpenCall& call) { return call.path == path; }));
}

void resetOpenCalls() {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().opens.clear();
}

void redirectOpen(const std::string& path, const std::string& target) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().redirections[path] = target;
}

void failOpens(const std::string& path, std::function<int(std::size_t)> script) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().failingPath = path;
    watch().openScript = std::move(script);
    watch().scriptedOpens = 0;
}

void setOpenHook(std::function<void(const std::string&)> hook) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().openHook = std::move(hook);
}

void disturbReads(const std::string& path, std::function<ReadStep(std::size_t)> script) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().disturbedPath = std::filesystem::weakly_canonical(path).string();
    watch().readScript = std::move(script);
    watch().readCalls = 0;
}

void failStats(const std::string& path, std::function<int(std::size_t)> script) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().unstatablePath = std::filesystem::weakly_canonical(path).string();
    watch().statScript = std::move(script);
    watch().statCalls = 0;
}

} // namespace support
