// SPDX-License-Identifier: Apache-2.0
#include "config/RememberedText.h"

#include "support/RealFunction.h"

#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <pthread.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using Quarncommon::config::FileText;
using Quarncommon::config::ListMemory;
using Quarncommon::config::ParsedText;

struct Stop {
    std::latch holdsTheMutex{1};
    std::latch mayGoOn{1};
};

/// If set, the thread stops before it unlocks a mutex.
constinit thread_local Stop* t_stop = nullptr;

} // namespace

extern "C" [[gnu::visibility("default")]] int
pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    if (Stop* const stop = std::exchange(t_stop, nullptr)) {
        stop->holdsTheMutex.count_down();
        stop->mayGoOn.wait();
    }
    static auto* const real =
        support::realFunction<int(pthread_mutex_t*)>(nullptr, "pthread_mutex_unlock");
    return real(mutex);
}

namespace {

TEST(ListMemory, ChildForkedWhileAThreadChangesIt_StartsEmpty) {
    const auto text = [] {
        return std::make_shared<const ParsedText>(std::make_shared<const FileText>(), true);
    };
    ListMemory memory;
    memory.keep(text());
    Stop stop;
    const std::jthread changing([&] {
        t_stop = &stop;
        memory.keep(text());
    });
    stop.holdsTheMutex.wait();
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(20);
        memory.resetAfterFork();
        ::_exit(memory.current() == nullptr ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    stop.mayGoOn.count_down();
}

} // namespace
