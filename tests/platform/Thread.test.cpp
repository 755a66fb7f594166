// SPDX-License-Identifier: Apache-2.0
#include "Thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <latch>
#include <memory>

namespace {

using eventcbutil::Thread;

struct Signals {
    std::latch mayEnd{1};
    std::latch ends{1};
};

TEST(Thread, JoinedBeforeItEnds_IsLeftToItselfAfterTheLongestTime) {
    const auto signals = std::make_shared<Signals>();
    Thread thread("slow", [signals] {
        signals->mayEnd.wait();
        signals->ends.count_down();
    });
    thread.join(std::chrono::seconds(0));
    EXPECT_FALSE(thread.joinable());
    signals->mayEnd.count_down();
    signals->ends.wait();
}

} // namespace
