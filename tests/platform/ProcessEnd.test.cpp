// SPDX-License-Identifier: Apache-2.0

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "WatchFaults.h"
#include "support/Deployment.h"
#include "support/Resources.h"
#include "support/Sanitizers.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using support::writeFile;

using ProcessEnd = SubscribedProcess;

/// Runs when a static object that is older than the first subscription is destroyed.
std::function<void()>& atStaticDestruction() {
    struct Destroyed {
        std::function<void()> hook = [] {};
        ~Destroyed() { hook(); }
    };
    static Destroyed destroyed;
    return destroyed.hook;
}

TEST_F(ProcessEnd, ExitWithASubscription_ServiceEndsBeforeOlderStaticObjectsAreDestroyed) {
    EXPECT_EXIT(
        {
            atStaticDestruction() = [this] {
                waitForServiceToEnd();
                writeFile(m_file, "no subscription");
                ::_exit(m_recorder.subscribe() < 0 ? 42 : 1);
            };
            subscribeAndSeeAChange();
            std::exit(0);
        },
        testing::ExitedWithCode(42), "");
}

TEST_F(ProcessEnd, ExitWhileACallbackNeverReturns_DoesNotWaitForIt) {
    EXPECT_EXIT(
        {
            // Never destroyed, because the callback still uses it.
            static Barrier& barrier = *new Barrier;
            m_recorder.setHook([] {
                barrier.arrive();
                return 0;
            });
            ASSERT_EQ(m_recorder.subscribe(), 0);
            writeFile(m_file, "after");
            barrier.waitForArrival();
            std::exit(42);
        },
        testing::ExitedWithCode(42), "");
}

TEST_F(ProcessEnd, ExitInACallback_EndsTheProcess) {
    EXPECT_EXIT(
        {
            m_recorder.setHook([]() -> int { std::exit(42); });
            ASSERT_EQ(m_recorder.subscribe(), 0);
            writeFile(m_file, "after");
            for (;;) {
                ::pause();
            }
        },
        testing::ExitedWithCode(42), "");
}

/// In each of these the service's thread hangs.
#ifndef SANITIZED
TEST_F(ProcessEnd, ExitWhileASystemCallHangs_IsBounded) {
    EXPECT_EXIT(
        {
            ASSERT_EQ(m_recorder.subscribe(), 0);
            hangCalls(Call::Lstat);
            writeFile(m_file, "after");
            while (hangingCalls() == 0) {
                std::this_thread::yield();
            }
            std::exit(42);
        },
        testing::ExitedWithCode(42), "");
}

TEST_F(ProcessEnd, ExitWhileAComparisonHangs_IsBounded) {
    EXPECT_EXIT(
        {
            subscribeAndSeeAChange();
            hangCalls(Call::Open, m_file.string());
            writeFile(m_file, "second");
            while (hangingCalls() == 0) {
                std::this_thread::yield();
            }
            std::exit(42);
        },
        testing::ExitedWithCode(42), "");
}
#endif

TEST_F(ProcessEnd, ExitInACallbackThatHasSubscribedAgain_EndsTheProcess) {
    EXPECT_EXIT(
        {
            m_recorder.setHook([this]() -> int {
                EventConsumerCBFini();
                EXPECT_EQ(m_recorder.subscribe(), 0);
                std::exit(42);
            });
            ASSERT_EQ(m_recorder.subscribe(), 0);
            writeFile(m_file, "after");
            for (;;) {
                ::pause();
            }
        },
        testing::ExitedWithCode(42), "");
}

TEST_F(ProcessEnd, ExitDuringManyChanges_EndsNormally) {
    EXPECT_EXIT(
        {
            std::thread([this] {
                for (int i = 0;; ++i) {
                    writeInPlace(m_file, std::to_string(i));
                }
            }).detach();
            ASSERT_EQ(m_recorder.subscribe(), 0);
            m_recorder.waitForCount(10);
            atStaticDestruction() = [] { ::_exit(42); };
            std::exit(0);
        },
        testing::ExitedWithCode(42), "");
}

} // namespace
