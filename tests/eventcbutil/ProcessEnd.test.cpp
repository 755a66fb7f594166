// The event library when the process ends, and when it forks.

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "Resources.h"
#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <mutex>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// The thread sanitizer would else end a child that starts a thread.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "die_after_fork=0";
}

namespace {

using support::Deployment;
using support::setEnvironment;
using support::writeFile;
namespace fs = std::filesystem;

class ProcessEnd : public testing::Test {
protected:
    Deployment m_deployment;
    fs::path m_file = m_deployment.nodeListPath();
    Recorder m_recorder{m_file};

    void SetUp() override {
        setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
        writeFile(m_file, "before");
    }

    void subscribeAndSeeAChange() {
        ASSERT_EQ(m_recorder.subscribe(), 0);
        writeFile(m_file, "after");
        m_recorder.waitForText("after");
    }

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

/// Runs when static objects are destroyed; one that was built before the first subscription.
std::function<void()>& atStaticDestruction() {
    struct Destroyed {
        std::function<void()> hook = [] {};
        ~Destroyed() { hook(); }
    };
    static Destroyed destroyed;
    return destroyed.hook;
}

TEST_F(ProcessEnd, ExitWithASubscription_ServiceHasEndedBeforeOlderStaticObjectsGo) {
    EXPECT_EXIT(
        {
            atStaticDestruction() = [this] {
                waitForServiceToEnd();
                writeFile(m_file, "nobody listens");
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
            // Never destroyed: that would wait for whoever waits there.
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

TEST_F(ProcessEnd, ExitFromWithinACallback_EndsTheProcess) {
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

TEST_F(ProcessEnd, ExitUnderAStormOfChanges_EndsInOrder) {
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

TEST_F(ProcessEnd, ForkedChild_HasNothingOfTheServiceAndCanSubscribe) {
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
        EventConsumerCBFini();
        return 0;
    });
    EXPECT_EQ(status, 0);
    // The parent's subscription is untouched by what the child has done with its own.
    m_recorder.waitForText("child's");
    writeFile(m_file, "parent's");
    m_recorder.waitForText("parent's");
    EventConsumerCBFini();
}

TEST_F(ProcessEnd, ForkedChildWithoutFini_CanSubscribeToo) {
    subscribeAndSeeAChange();
    const int status = inChild([&] {
        if (m_recorder.subscribe() != 0) {
            return 1;
        }
        writeFile(m_file, "child's");
        m_recorder.waitForText("child's");
        EventConsumerCBFini();
        return 0;
    });
    EXPECT_EQ(status, 0);
    EventConsumerCBFini();
}

TEST_F(ProcessEnd, GrandchildOfASubscriber_CanSubscribeToo) {
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
            EventConsumerCBFini();
            return 0;
        });
    });
    EXPECT_EQ(status, 0);
    EventConsumerCBFini();
}

TEST_F(ProcessEnd, ForkFromWithinTheCallback_ChildEndsWithItsOnlyThread) {
    std::atomic<pid_t> child{0};
    m_recorder.setHook([&] {
        child = ::fork();
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    while (child == 0) {
        std::this_thread::yield();
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EventConsumerCBFini();
}

TEST_F(ProcessEnd, ForksUnderAStormOfChanges_NeverFindALockHeld) {
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
        EventConsumerCBFini();
    });
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(inChild([&] {
                      EventConsumerCBFini();
                      Recorder own(m_file);
                      const bool subscribed = own.subscribe() == 0;
                      EventConsumerCBFini();
                      return subscribed ? 0 : 1;
                  }),
                  0);
    }
    stop = true;
    writer.join();
    subscriber.join();
    EventConsumerCBFini();
    waitForServiceToEnd();
}

} // namespace
