// SPDX-License-Identifier: Apache-2.0

#include "WatchFaults.h"
#include "support/Sanitizers.h"

#ifndef SANITIZED

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "support/Deployment.h"
#include "support/Resources.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace {

using support::writeFile;

class HungComparison : public SubscribedProcess {
protected:
    void SetUp() override {
        SubscribedProcess::SetUp();
        writeFile(m_deployment.managerNodeListPath(), "text");
    }

    void hang() { hangCalls(Call::Open, m_deployment.managerNodeListPath().string()); }

    static void waitForHang() {
        while (hangingCalls() == 0) {
            std::this_thread::yield();
        }
    }

    static void waitForRelease() {
        releaseCalls();
        while (hangingCalls() != 0) {
            std::this_thread::yield();
        }
    }
};

TEST_F(HungComparison, ChangesInOtherFiles_AreAnnouncedWithoutIt) {
    hang();
    ASSERT_EQ(m_recorder.subscribe(), 0);
    for (const std::string text : {"one", "two", "three"}) {
        writeFile(m_file, text);
        m_recorder.waitForText(text);
        waitForHang();
        EXPECT_EQ(hangingCalls(), 1);
    }
    waitForRelease();
    endService();
}

TEST_F(HungComparison, EndOfTheSubscriptions_DoesNotWaitForIt) {
    const Resources before = resources();
    ASSERT_EQ(m_recorder.subscribe(), 0);
    hang();
    writeFile(m_file, "after");
    m_recorder.waitForText("after");
    EventConsumerCBFini();
    while (serviceThreads() != 0) {
        std::this_thread::yield();
    }
    waitForHang();
    EXPECT_EQ(hangingCalls(), 1);
    waitForRelease();
    waitForServiceToEnd();
    EXPECT_EQ(resources(), before);
}

TEST_F(HungComparison, NoThreadForIt_ChangesAreAnnounced) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    failCalls(Call::ThreadCreate, EAGAIN);
    for (std::size_t i = 1; i <= 3; ++i) {
        writeFile(m_file, "same");
        m_recorder.waitForCount(i);
    }
    failCalls(Call::ThreadCreate, 0);
    endService();
}

} // namespace

#endif
