#include "WatchFaults.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int> g_watchError{0};
std::atomic<int> g_interruptions{0};

} // namespace

void refuseWatches(int error) {
    g_watchError = error;
}

void interruptWaits(int count) {
    g_interruptions = count;
}

int interruptionsLeft() {
    return g_interruptions;
}

extern "C" [[gnu::visibility("default")]] int inotify_add_watch(int descriptor, const char* path,
                                                                std::uint32_t mask) noexcept {
    if (const int error = g_watchError; error != 0) {
        errno = error;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_inotify_add_watch, descriptor, path, mask));
}

extern "C" [[gnu::visibility("default")]] int poll(pollfd* descriptors, nfds_t count, int timeout) {
    if (g_interruptions > 0) {
        --g_interruptions;
        errno = EINTR;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_poll, descriptors, count, timeout));
}
