// SPDX-License-Identifier: Apache-2.0

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "WatchFaults.h"
#include "support/Deployment.h"
#include "support/Resources.h"
#include "support/Sanitizers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <filesystem>
#include <thread>

namespace {

using support::writeFile;
using testing::ElementsAre;

using Ending = SubscribedProcess;

TEST_F(Ending, WhileACallbackRuns_WaitsForItsReturn) {
    Barrier inCallback;
    std::atomic<bool> returning{false};
    m_recorder.setHook([&] {
        inCallback.arrive();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        returning = true;
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    inCallback.waitForArrival();
    inCallback.letGo();
    EventConsumerCBFini();
    EXPECT_TRUE(returning);
    endService();
}

#ifndef SANITIZED
/// The service's thread is delayed between its last look at the subscriptions and the callback.
TEST_F(Ending, WhileACallbackIsAboutToStart_NoneStartsAfterTheReturn) {
    delayUnlocksOfThreads(true);
    std::atomic<int> startedAfterwards{0};
    std::atomic<bool> ended{true};
    m_recorder.setHook([&] {
        startedAfterwards += ended ? 1 : 0;
        return 0;
    });
    for (int round = 0; round < 100; ++round) {
        ended = false;
        ASSERT_EQ(m_recorder.subscribe(), 0);
        writeFile(m_file, std::to_string(round));
        // Another moment of the delivery in each round.
        std::this_thread::sleep_for(std::chrono::microseconds(50 * round));
        EventConsumerCBFini();
        ended = true;
        waitForServiceToEnd();
    }
    delayUnlocksOfThreads(false);
    EXPECT_EQ(startedAfterwards, 0);
}

TEST_F(Ending, WhileASystemCallHangs_IsBoundedAndNoCallbackFollows) {
    const Resources before = resources();
    ASSERT_EQ(m_recorder.subscribe(), 0);
    hangCalls(Call::Lstat);
    writeFile(m_file, "after");
    while (hangingCalls() == 0) {
        std::this_thread::yield();
    }
    EventConsumerCBFini();
    EXPECT_EQ(serviceThreads(), 1U);
    releaseCalls();
    waitForServiceToEnd();
    EXPECT_EQ(resources(), before);
    EXPECT_THAT(m_recorder.texts(), ElementsAre());
}

TEST_F(Ending, WhileAThreadHangsInASystemCall_NewSubscriptionsWork) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    hangCalls(Call::Lstat, m_file.string());
    writeFile(m_file, "after");
    while (hangingCalls() == 0) {
        std::this_thread::yield();
    }
    EventConsumerCBFini();
    support::setEnvironment("APP_ROOT", (m_deployment.appRoot().string() + "2").c_str());
    const std::filesystem::path second =
        m_deployment.appRoot().string() + "2/etc/sysconf/nodelist.json";
    writeFile(second, "before");
    Recorder recorder(second);
    ASSERT_EQ(recorder.subscribe(), 0);
    writeFile(second, "second");
    recorder.waitForText("second");
    releaseCalls();
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre());
}
#endif

TEST_F(Ending, CallbacksThatDoNotReturn_KeepAtMostTwoThreads) {
    constexpr int kRounds = 3;
    const Resources before = resources();
    std::deque<Barrier> barriers(kRounds);
    std::deque<Recorder> recorders;
    std::size_t most = 0;
    for (int round = 0; round < kRounds; ++round) {
        Recorder& recorder = recorders.emplace_back(m_file);
        recorder.setHook([&barrier = barriers[static_cast<std::size_t>(round)]] {
            barrier.arrive();
            return 0;
        });
        ASSERT_EQ(recorder.subscribe(), 0);
        writeFile(m_file, std::to_string(round));
        if (round < 2) {
            barriers[static_cast<std::size_t>(round)].waitForArrival();
        }
        EventConsumerCBFini();
        most = std::max(most, serviceThreads());
    }
    EXPECT_EQ(most, 2U);
    for (Barrier& barrier : barriers) {
        barrier.letGo();
    }
    subscribeAndSeeAChange();
    endService();
    EXPECT_EQ(resources(), before);
}

TEST_F(Ending, InTheCallbackAndSubscribedAgain_KeepsOneThread) {
    const Resources before = resources();
    std::size_t most = 0;
    std::atomic<int> calls{0};
    m_recorder.setHook([&] {
        EventConsumerCBFini();
        EXPECT_EQ(m_recorder.subscribe(), 0);
        most = std::max(most, serviceThreads());
        ++calls;
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    for (int i = 0; i < 10; ++i) {
        const int callsBefore = calls;
        writeFile(m_file, std::to_string(i));
        while (calls == callsBefore) {
            std::this_thread::yield();
        }
    }
    endService();
    EXPECT_EQ(most, 1U);
    EXPECT_EQ(resources(), before);
}

} // namespace
