// SPDX-License-Identifier: Apache-2.0
// Preloaded into a program: the wall clock jumps by years at each reading, forward and back. The
// monotonic clocks are not changed.

#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

time_t jumping(time_t seconds) {
    static std::atomic<int> readings{0};
    constexpr time_t kTenYears = 315'360'000;
    return readings++ % 2 == 0 ? seconds + kTenYears : seconds - kTenYears;
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) {
    const long result = ::syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        time->tv_sec = jumping(time->tv_sec);
    }
    return static_cast<int>(result);
}

__attribute__((visibility("default"))) int gettimeofday(timeval* time, void*) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

__attribute__((visibility("default"))) time_t time(time_t* result) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}
}
