#include "WatchFaults.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int> g_watchError{0};
std::atomic<int> g_inotifyError{0};
std::atomic<int> g_eventfdError{0};
std::atomic<int> g_interruptions{0};

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

void interruptWaits(int count) {
    g_interruptions = count;
}

int interruptionsLeft() {
    return g_interruptions;
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
    if (g_interruptions > 0) {
        --g_interruptions;
        errno = EINTR;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_poll, descriptors, count, timeout));
}
