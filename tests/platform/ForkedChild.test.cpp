// SPDX-License-Identifier: Apache-2.0
// The event library in a child of a process that has a subscription.

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "support/Deployment.h"
#include "support/Resources.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using support::writeFile;

class ForkedChild : public SubscribedProcess {
protected:
    /// Runs `work` in a forked child and answers the child's exit status, -1 for another end.
    template <typename Work>
    static int inChild(Work work) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(work());
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_F(ForkedChild, HasNothingOfTheServiceAndCanSubscribe) {
    subscribeAndSeeAChange();
    const int status = inChild([&] {
        if (resources().watches != 0 || serviceThreads() != 0) {
            return 1;
        }
        EventConsumerCBFini();
        Recorder own(m_file);
        if (own.subscribe() != 0 || serviceThreads() != 1) {
            return 2;
        }
        writeFile(m_file, "child's");
        own.waitForText("child's");
        endService();
        return 0;
    });
    EXPECT_EQ(status, 0);
    // The parent's subscription is untouched by what the child has done with its own.
    m_recorder.waitForText("child's");
    writeFile(m_file, "parent's");
    m_recorder.waitForText("parent's");
    endService();
}

TEST_F(ForkedChild, WithoutFini_CanSubscribeToo) {
    subscribeAndSeeAChange();
    const int status = inChild([&] {
        if (m_recorder.subscribe() != 0) {
            return 1;
        }
        writeFile(m_file, "child's");
        m_recorder.waitForText("child's");
        endService();
        return 0;
    });
    EXPECT_EQ(status, 0);
    endService();
}

TEST_F(ForkedChild, OfAForkedChild_CanSubscribeToo) {
    subscribeAndSeeAChange();
    const int status = inChild([&] {
        if (m_recorder.subscribe() != 0) {
            return 1;
        }
        return inChild([&] {
            Recorder own(m_file);
            if (own.subscribe() != 0) {
                return 2;
            }
            writeFile(m_file, "grandchild's");
            own.waitForText("grandchild's");
            endService();
            return 0;
        });
    });
    EXPECT_EQ(status, 0);
    endService();
}

TEST_F(ForkedChild, OfACallback_EndsWithItsOnlyThread) {
    std::atomic<pid_t> child{0};
    m_recorder.setHook([&] {
        child = ::fork();
        if (child == 0) {
            // Past a sanitizer's look for leaks, for which the stacks of the parent are gone.
            std::atexit([] { ::_exit(42); });
        }
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    while (child == 0) {
        std::this_thread::yield();
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 42);
    endService();
}

TEST_F(ForkedChild, UnderAStormOfChanges_NeverFindsALockHeld) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (int i = 0; !stop; ++i) {
            writeInPlace(m_file, std::to_string(i));
        }
    });
    std::thread subscriber([&] {
        Recorder other(m_file);
        while (!stop) {
            EXPECT_EQ(other.subscribe(), 0);
        }
        endService();
    });
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(inChild([&] {
                      EventConsumerCBFini();
                      Recorder own(m_file);
                      const bool subscribed = own.subscribe() == 0;
                      endService();
                      return subscribed ? 0 : 1;
                  }),
                  0);
    }
    stop = true;
    writer.join();
    subscriber.join();
    endService();
}

} // namespace
