// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Recorder.h"
#include "support/Deployment.h"
#include "support/Resources.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <mutex>
#include <pthread.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

class SubscribedProcess : public testing::Test {
protected:
    support::Deployment m_deployment;
    std::filesystem::path m_file = m_deployment.nodeListPath();
    Recorder m_recorder{m_file};

    void SetUp() override {
        support::setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
        support::writeFile(m_file, "before");
        // A sanitizer starts its own thread together with the first one.
        std::thread([] { ::pthread_setname_np(::pthread_self(), "sysconf-first"); }).join();
        waitForServiceToEnd();
    }

    void seeAChange(const std::string& text) {
        support::writeFile(m_file, text);
        m_recorder.waitForText(text);
    }

    void subscribeAndSeeAChange() {
        ASSERT_EQ(m_recorder.subscribe(), 0);
        seeAChange("after");
    }

    /// A callback for the text "after" then waits at the barrier, and acquires the lock after it.
    void holdACallback(Barrier& barrier, std::mutex* lock = nullptr) {
        m_recorder.setHook([&barrier, lock] {
            barrier.arrive();
            const auto guard =
                lock != nullptr ? std::unique_lock(*lock) : std::unique_lock<std::mutex>();
            return 0;
        });
        ASSERT_EQ(m_recorder.subscribe(), 0);
        support::writeFile(m_file, "after");
        barrier.waitForArrival();
    }

    static int exitStatus(pid_t child) {
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// -1 if a signal ends it.
    template <typename Work>
    static int inChild(Work work) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(work());
        }
        return exitStatus(child);
    }
};
