// SPDX-License-Identifier: Apache-2.0
#include "Subscription.h"

#include "WatchFaults.h"
#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace {

using eventcbutil::Subscription;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

int answer(const std::string&, const std::string&, const std::string&, void* userData) {
    return *static_cast<int*>(userData);
}

/// The test passes the time. The kernel queues a report before the change returns.
class SubscriptionAt : public testing::Test {
protected:
    fs::path m_file = support::testDirectory() / "file";
    int m_answer = 0;
    Subscription::Time m_now{1h};
    Subscription m_subscription = subscription();

    Subscription subscription() {
        support::writeFile(m_file, "text");
        return {"SysConfigEvent", {answer, &m_answer}, {{m_file.string()}, 50ms, 1h}};
    }

    void deliver() {
        ASSERT_TRUE(m_subscription.ready(m_now));
        m_subscription.call();
        m_subscription.settle(m_now);
    }

    void announce(const std::string& text) {
        ASSERT_TRUE(announced(text));
        m_subscription.call();
        m_subscription.settle(m_now);
    }

    bool announced(const std::string& text) {
        support::writeFile(m_file, text);
        m_subscription.gather(m_now);
        m_now += 50ms;
        return m_subscription.ready(m_now);
    }
};

TEST_F(SubscriptionAt, NoChange_NothingIsDue) {
    m_subscription.gather(m_now);
    EXPECT_EQ(m_subscription.due(), std::nullopt);
    EXPECT_FALSE(m_subscription.ready(m_now + 1h));
}

TEST_F(SubscriptionAt, Change_ReadyAfterTheQuietTimeAndNotBefore) {
    support::writeFile(m_file, "other");
    m_subscription.gather(m_now);
    EXPECT_EQ(m_subscription.due(), m_now + 50ms);
    EXPECT_FALSE(m_subscription.ready(m_now + 49ms));
    EXPECT_TRUE(m_subscription.ready(m_now + 50ms));
    EXPECT_EQ(m_subscription.due(), std::nullopt);
}

TEST_F(SubscriptionAt, FileThatChangesAllTheTime_ReadyAfterASecondAndNotBefore) {
    std::ofstream file(m_file, std::ios::app);
    const Subscription::Time start = m_now;
    for (; m_now < start + 1s; m_now += 40ms) {
        file << "more" << std::flush;
        m_subscription.gather(m_now);
        EXPECT_FALSE(m_subscription.ready(m_now));
    }
    EXPECT_TRUE(m_subscription.ready(start + 1s));
}

TEST_F(SubscriptionAt, SameTextAgain_IsNotAnnounced) {
    announce("other");
    EXPECT_FALSE(announced("other"));
    EXPECT_TRUE(announced("text"));
}

TEST_F(SubscriptionAt, CallbackFailed_SameTextIsAnnouncedAgain) {
    m_answer = -1;
    announce("other");
    EXPECT_TRUE(announced("other"));
}

TEST_F(SubscriptionAt, CallbackFails_IsRepeatedWithLongerPausesUntilItReturns0) {
    m_answer = -1;
    announce("other");
    for (const auto pause : {100ms, 200ms, 400ms}) {
        EXPECT_EQ(m_subscription.due(), m_now + pause);
        EXPECT_FALSE(m_subscription.ready(m_now + pause - 1ms));
        m_now += pause;
        m_answer = pause == 400ms ? 0 : -1;
        deliver();
    }
    EXPECT_EQ(m_subscription.due(), std::nullopt);
    EXPECT_FALSE(announced("other"));
}

TEST_F(SubscriptionAt, NewChangeWhileARepetitionIsDue_IsAnnouncedWithoutItsPause) {
    m_answer = -1;
    announce("other");
    for (int i = 0; i < 9; ++i) {
        m_now = *m_subscription.due();
        deliver();
    }
    EXPECT_EQ(m_subscription.due(), m_now + 30s);
    announce("new");
    EXPECT_EQ(m_subscription.due(), m_now + 100ms);
}

TEST_F(SubscriptionAt, Redelivery_IsDueAfterTheFirstPauseWithoutAChange) {
    announce("other");
    m_subscription.redeliver();
    m_subscription.gather(m_now);
    EXPECT_EQ(m_subscription.due(), m_now + 100ms);
    m_now += 100ms;
    m_subscription.redeliver();
    deliver();
    EXPECT_EQ(m_subscription.due(), m_now + 200ms);
    m_now += 200ms;
    deliver();
    EXPECT_EQ(m_subscription.due(), std::nullopt);
}

/// The files are read once a second, but the pauses between callbacks grow.
TEST_F(SubscriptionAt, IncompleteWatchWhileTheCallbackFails_KeepsItsPauses) {
    m_answer = -1;
    failCalls(Call::AddWatch, ENOSPC);
    announce("other");
    int calls = 0;
    for (const Subscription::Time start = m_now; m_now < start + 60s;) {
        m_now = *m_subscription.due();
        m_subscription.gather(m_now);
        if (m_subscription.ready(m_now)) {
            m_subscription.call();
            m_subscription.settle(m_now);
            ++calls;
        }
    }
    failCalls(Call::AddWatch, 0);
    EXPECT_GE(calls, 5);
    EXPECT_LE(calls, 12);
}

TEST_F(SubscriptionAt, KernelRefusesWatches_ReadsTheFilesOnceASecondAndAnnouncesChanges) {
    announce("other");
    failCalls(Call::AddWatch, ENOSPC);
    announce("without watches");
    for (int i = 0; i < 3; ++i) {
        // A wake-up in between does not postpone the next look.
        const Subscription::Time look = *m_subscription.due();
        EXPECT_GT(look, m_now);
        EXPECT_LE(look, m_now + 1s);
        m_subscription.gather(look - 1ms);
        EXPECT_EQ(m_subscription.due(), look);
        m_now = look;
        m_subscription.gather(m_now);
        EXPECT_EQ(m_subscription.due(), m_now + 50ms);
        m_now += 50ms;
        EXPECT_FALSE(m_subscription.ready(m_now));
    }
    failCalls(Call::AddWatch, 0);
    m_subscription.gather(*m_subscription.due());
    m_now = *m_subscription.due();
    EXPECT_FALSE(m_subscription.ready(m_now));
    EXPECT_EQ(m_subscription.due(), std::nullopt);
    EXPECT_TRUE(announced("watched again"));
}

} // namespace
