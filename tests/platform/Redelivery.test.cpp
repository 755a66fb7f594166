// SPDX-License-Identifier: Apache-2.0

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "WatchFaults.h"
#include "support/Deployment.h"
#include "support/Sanitizers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <stdexcept>

namespace {

using support::writeFile;
using testing::ElementsAre;

using Redelivery = SubscribedProcess;

TEST_F(Redelivery, CallbackThrowsOrFails_IsCalledAgainWithoutAChangeUntilItReturns0) {
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
    seeAChange("last");
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after", "after", "after", "after", "last"));
}

TEST_F(Redelivery, Requested_IsDeliveredWithoutAChange) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    m_recorder.requestDelivery();
    m_recorder.waitForCount(1);
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("before"));
}

TEST_F(Redelivery, RequestedButThereIsNoService_IsIgnored) {
    m_recorder.requestDelivery();
    ASSERT_EQ(m_recorder.subscribe(), 0);
    seeAChange("after");
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after"));
}

TEST_F(Redelivery, RequestedInTheCallback_IsDeliveredAgainAlthoughItReturns0) {
    std::atomic<int> calls{0};
    m_recorder.setHook([&] {
        if (calls++ == 0) {
            m_recorder.requestDelivery();
        }
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    m_recorder.waitForCount(2);
    seeAChange("last");
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after", "after", "last"));
}

TEST_F(Redelivery, RequestedWithALockThatTheCallbackNeeds_DoesNotWait) {
    std::mutex lock;
    Barrier inCallback;
    holdACallback(inCallback, &lock);
    {
        const std::lock_guard<std::mutex> guard(lock);
        inCallback.letGo();
        m_recorder.requestDelivery();
    }
    m_recorder.waitForCount(2);
    endService();
}

TEST_F(Redelivery, RequestedWithoutASubscription_NothingHappens) {
    EventConsumerCBRedeliver(nullptr);
    m_recorder.requestDelivery();
    Recorder other(m_file);
    ASSERT_EQ(other.subscribe(), 0);
    EventConsumerCallback function = other.record();
    function.callback = [](const std::string&, const std::string&, const std::string&, void*) {
        return 0;
    };
    EventConsumerCBRedeliver(&function);
    m_recorder.requestDelivery();
    // The requests above would be delivered before this one.
    writeFile(m_file, "after");
    other.waitForText("after");
    other.requestDelivery();
    other.waitForCount(2);
    endService();
    m_recorder.requestDelivery();
    EXPECT_THAT(other.texts(), ElementsAre("after", "after"));
    EXPECT_THAT(m_recorder.texts(), ElementsAre());
}

} // namespace
