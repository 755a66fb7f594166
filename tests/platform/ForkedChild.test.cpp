// SPDX-License-Identifier: Apache-2.0

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "support/Deployment.h"
#include "support/Resources.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <unistd.h>

namespace {

using support::writeFile;

class ForkedChild : public SubscribedProcess {
protected:
    bool follows(Recorder& recorder, const std::string& text) {
        if (recorder.subscribe() != 0 || serviceThreads() != 1) {
            return false;
        }
        writeFile(m_file, text);
        recorder.waitForText(text);
        return true;
    }
};

TEST_F(ForkedChild, HasNoThreadAndNoWatchesAndCanSubscribe) {
    subscribeAndSeeAChange();
    const int status = inChild([&] {
        if (resources().watches != 0 || serviceThreads() != 0) {
            return 1;
        }
        EventConsumerCBFini();
        Recorder own(m_file);
        const bool works = follows(own, "child's");
        endService();
        return works ? 0 : 2;
    });
    EXPECT_EQ(status, 0);
    // The parent's subscription is unaffected.
    m_recorder.waitForText("child's");
    seeAChange("parent's");
    endService();
}

TEST_F(ForkedChild, WithoutFini_CanSubscribeAndSoCanItsChild) {
    subscribeAndSeeAChange();
    // The child cannot use m_recorder: the parent's thread may have held its lock.
    Recorder childs(m_file);
    const int status = inChild([&] {
        if (!follows(childs, "child's")) {
            return 1;
        }
        return inChild([&] {
            Recorder own(m_file);
            const bool works = follows(own, "grandchild's");
            endService();
            return works ? 0 : 2;
        });
    });
    EXPECT_EQ(status, 0);
    endService();
}

TEST_F(ForkedChild, OfACallback_ExitsWhenTheCallbackReturns) {
    std::atomic<pid_t> child{0};
    m_recorder.setHook([&] {
        child = ::fork();
        if (child == 0) {
            std::atexit([] { ::_exit(42); });
        }
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    while (child == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(exitStatus(child), 42);
    endService();
}

TEST_F(ForkedChild, DuringManyChanges_NeverWaitsForALock) {
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
