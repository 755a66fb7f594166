// SPDX-License-Identifier: Apache-2.0
#include "Debouncer.h"

#include <gtest/gtest.h>

namespace {

using eventcbutil::Debouncer;
using namespace std::chrono_literals;

const Debouncer::Time kStart{};

TEST(Debouncer, NoChange_NothingDue) {
    EXPECT_EQ(Debouncer(50ms, 1s).due(), std::nullopt);
}

TEST(Debouncer, OneChange_DueAfterTheQuietTime) {
    Debouncer debouncer(50ms, 1s);
    debouncer.change(kStart);
    EXPECT_EQ(debouncer.due(), kStart + 50ms);
}

TEST(Debouncer, AThousandChangesInARow_DueOnceAfterTheLast) {
    Debouncer debouncer(50ms, 1s);
    for (int i = 0; i < 1000; ++i) {
        debouncer.change(kStart + i * 100us);
    }
    EXPECT_EQ(debouncer.due(), kStart + 999 * 100us + 50ms);
}

TEST(Debouncer, ChangesWithoutRest_DueAtTheLongestTime) {
    Debouncer debouncer(50ms, 1s);
    for (int i = 0; i < 1000; ++i) {
        debouncer.change(kStart + i * 10ms);
    }
    EXPECT_EQ(debouncer.due(), kStart + 1s);
}

TEST(Debouncer, Clear_NextChangeStartsAgain) {
    Debouncer debouncer(50ms, 1s);
    debouncer.change(kStart);
    debouncer.clear();
    EXPECT_EQ(debouncer.due(), std::nullopt);
    debouncer.change(kStart + 5s);
    EXPECT_EQ(debouncer.due(), kStart + 5s + 50ms);
}

TEST(Debouncer, NoQuietTime_DueAtOnce) {
    Debouncer debouncer(0ms, 1s);
    debouncer.change(kStart + 3ms);
    EXPECT_EQ(debouncer.due(), kStart + 3ms);
}

} // namespace
