// SPDX-License-Identifier: Apache-2.0
#include "Backoff.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using eventcbutil::Backoff;
using namespace std::chrono_literals;

TEST(Backoff, EachFailure_DoublesThePauseUpTo30Seconds) {
    Backoff backoff;
    const Backoff::Time now{1h};
    for (auto pause = 100ms; pause < 30s; pause *= 2) {
        backoff.failed(now);
        EXPECT_EQ(backoff.due(), now + pause);
        backoff.repeating();
        EXPECT_EQ(backoff.due(), std::nullopt);
    }
    for (int i = 0; i < 100; ++i) {
        backoff.failed(now);
        EXPECT_EQ(backoff.due(), now + 30s);
    }
}

TEST(Backoff, Reset_NothingIsDueAndTheNextPauseIsTheFirst) {
    Backoff backoff;
    const Backoff::Time now{1h};
    backoff.failed(now);
    backoff.failed(now);
    backoff.reset();
    EXPECT_EQ(backoff.due(), std::nullopt);
    backoff.failed(now);
    EXPECT_EQ(backoff.due(), now + 100ms);
}

} // namespace
