// SPDX-License-Identifier: Apache-2.0
// Deliveries that are repeated, because the callback failed or because it was requested.

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "support/Deployment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <stdexcept>

namespace {

using support::writeFile;
using testing::ElementsAre;

class Redelivery : public SubscribedProcess {
protected:
    void request() {
        const EventConsumerCallback callback = m_recorder.record();
        EventConsumerCBRedeliver(&callback);
    }
};

TEST_F(Redelivery, CallbackThrowsOrRefuses_IsCalledAgainWithoutAChangeUntilItAnswers0) {
    std::atomic<int> calls{0};
    m_recorder.setHook([&]() -> int {
        switch (calls++) {
        case 0:
            throw std::runtime_error("out of the callback");
        case 1:
            throw 7;
        case 2:
            return -1;
        default:
            return 0;
        }
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    m_recorder.waitForCount(4);
    writeFile(m_file, "last");
    m_recorder.waitForText("last");
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after", "after", "after", "after", "last"));
}

TEST_F(Redelivery, Requested_IsDeliveredWithoutAChange) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    request();
    m_recorder.waitForCount(1);
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("before"));
}

TEST_F(Redelivery, RequestedFromWithinTheCallback_IsDeliveredAgainAfterAnAnswerOf0) {
    std::atomic<int> calls{0};
    m_recorder.setHook([&] {
        if (calls++ == 0) {
            request();
        }
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    m_recorder.waitForCount(2);
    writeFile(m_file, "last");
    m_recorder.waitForText("last");
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after", "after", "last"));
}

TEST_F(Redelivery, RequestedUnderALockThatTheCallbackNeeds_DoesNotWait) {
    std::mutex lock;
    Barrier inCallback;
    m_recorder.setHook([&] {
        inCallback.arrive();
        const std::lock_guard<std::mutex> guard(lock);
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    inCallback.waitForArrival();
    {
        const std::lock_guard<std::mutex> guard(lock);
        inCallback.letGo();
        request();
    }
    m_recorder.waitForCount(2);
    endService();
}

TEST_F(Redelivery, RequestedForNoSubscription_NothingHappens) {
    EventConsumerCBRedeliver(nullptr);
    request();
    Recorder other(m_file);
    ASSERT_EQ(other.subscribe(), 0);
    EventConsumerCallback function = other.record();
    function.callback = [](const std::string&, const std::string&, const std::string&, void*) {
        return 0;
    };
    EventConsumerCBRedeliver(&function);
    request();
    // What was requested before would have been delivered by then.
    writeFile(m_file, "after");
    other.waitForText("after");
    const EventConsumerCallback callback = other.record();
    EventConsumerCBRedeliver(&callback);
    other.waitForCount(2);
    endService();
    request();
    EXPECT_THAT(other.texts(), ElementsAre("after", "after"));
    EXPECT_THAT(m_recorder.texts(), ElementsAre());
}

} // namespace
