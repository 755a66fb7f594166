// SPDX-License-Identifier: Apache-2.0
#include "Thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace {

using eventcbutil::Thread;

TEST(Thread, JoinedBeforeItEnds_IsLeftToItselfAfterTheLongestTime) {
    std::promise<void> mayEnd;
    std::promise<void> ends;
    Thread thread("slow", [&] {
        mayEnd.get_future().wait();
        ends.set_value_at_thread_exit();
    });
    thread.join(std::chrono::seconds(0));
    EXPECT_FALSE(thread.joinable());
    mayEnd.set_value();
    ends.get_future().wait();
}

} // namespace
