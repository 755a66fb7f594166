// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Recorder.h"
#include "support/Deployment.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

/// A process that follows the node list of its deployment, every notice announced at once.
class SubscribedProcess : public testing::Test {
protected:
    support::Deployment m_deployment;
    std::filesystem::path m_file = m_deployment.nodeListPath();
    Recorder m_recorder{m_file};

    void SetUp() override {
        support::setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
        support::writeFile(m_file, "before");
        // A sanitizer starts a thread along with the first one.
        std::thread([] {}).join();
    }

    void subscribeAndSeeAChange() {
        ASSERT_EQ(m_recorder.subscribe(), 0);
        support::writeFile(m_file, "after");
        m_recorder.waitForText("after");
    }
};
