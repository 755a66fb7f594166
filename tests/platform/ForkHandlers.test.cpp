// SPDX-License-Identifier: Apache-2.0

#include "EventConsumerCB.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "support/Deployment.h"
#include "support/Resources.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <mutex>
#include <ostream>
#include <pthread.h>
#include <thread>

namespace {

using support::writeFile;

enum Position { Prepare, Parent, Child };

std::array<std::function<void()>, 3>& handlers() {
    static std::array<std::function<void()>, 3> handlers;
    return handlers;
}

template <Position position>
void run() {
    if (handlers()[position]) {
        handlers()[position]();
    }
}

void registerHandlers() {
    ASSERT_EQ(::pthread_atfork(run<Prepare>, run<Parent>, run<Child>), 0);
}

struct Row {
    const char* name;
    Position position;
    bool registeredFirst;
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.name;
}

const Row kRows[] = {
    {"Prepare_RegisteredBeforeTheFirstSubscription", Prepare, true},
    {"Prepare_RegisteredAfterTheFirstSubscription", Prepare, false},
    {"Parent_RegisteredBeforeTheFirstSubscription", Parent, true},
    {"Parent_RegisteredAfterTheFirstSubscription", Parent, false},
    {"Child_RegisteredBeforeTheFirstSubscription", Child, true},
    {"Child_RegisteredAfterTheFirstSubscription", Child, false},
};

class ForkHandlers : public SubscribedProcess, public testing::WithParamInterface<Row> {
protected:
    // The child cannot use m_recorder: the parent's thread may have held its lock.
    Recorder m_childs{m_file};

    /// Returns the child's exit status.
    int follow(bool subscribed) {
        if (!subscribed && m_childs.subscribe() != 0) {
            return 1;
        }
        if (serviceThreads() != 1) {
            return 2;
        }
        writeFile(m_file, "child's");
        m_childs.waitForText("child's");
        endService();
        return 0;
    }
};

TEST_P(ForkHandlers, EndAndSubscribeAgain_ParentAndChildFollowTheFiles) {
    const Position position = GetParam().position;
    if (GetParam().registeredFirst) {
        registerHandlers();
    }
    subscribeAndSeeAChange();
    if (!GetParam().registeredFirst) {
        registerHandlers();
    }
    int subscribed = 1;
    handlers()[position] = [&] {
        EventConsumerCBFini();
        subscribed = (position == Child ? m_childs : m_recorder).subscribe();
    };
    EXPECT_EQ(inChild([&] { return follow(position == Child && subscribed == 0); }), 0);
    handlers()[position] = nullptr;
    EXPECT_EQ(subscribed, position == Child ? 1 : 0);
    seeAChange("parent's");
    endService();
}

INSTANTIATE_TEST_SUITE_P(Of, ForkHandlers, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

using ForkHandler = SubscribedProcess;

/// The handler waits for a callback that uses the service.
TEST_F(ForkHandler, EndsTheSubscriptionWhileACallbackUsesTheService_BothReturn) {
    registerHandlers();
    Barrier inCallback;
    std::atomic<bool> returning{false};
    m_recorder.setHook([&] {
        inCallback.arrive();
        m_recorder.requestDelivery();
        returning = true;
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    inCallback.waitForArrival();
    bool returned = false;
    handlers()[Prepare] = [&] {
        inCallback.letGo();
        EventConsumerCBFini();
        returned = returning;
    };
    EXPECT_EQ(inChild([] { return 0; }), 0);
    EXPECT_TRUE(returned);
    endService();
}

/// The usual handlers of a program with a lock. Another thread uses the service under that lock.
TEST_F(ForkHandler, WaitsForALockUnderWhichTheServiceIsUsed_BothReturn) {
    registerHandlers();
    subscribeAndSeeAChange();
    std::mutex lock;
    Barrier forking;
    std::thread user([&] {
        const std::lock_guard<std::mutex> guard(lock);
        forking.arrive();
        EventConsumerCBFini();
        EXPECT_EQ(m_recorder.subscribe(), 0);
        m_recorder.requestDelivery();
    });
    forking.waitForArrival();
    handlers()[Prepare] = [&] {
        forking.letGo();
        lock.lock();
    };
    handlers()[Parent] = handlers()[Child] = [&] { lock.unlock(); };
    EXPECT_EQ(inChild([] {
                  EventConsumerCBFini();
                  return 0;
              }),
              0);
    user.join();
    seeAChange("parent's");
    endService();
}

TEST_F(ForkHandler, Forks_BothChildrenExit) {
    registerHandlers();
    subscribeAndSeeAChange();
    int inner = -1;
    const auto end = [] {
        EventConsumerCBFini();
        return 0;
    };
    handlers()[Prepare] = [&] {
        handlers()[Prepare] = nullptr;
        inner = inChild(end);
    };
    EXPECT_EQ(inChild(end), 0);
    EXPECT_EQ(inner, 0);
    seeAChange("parent's");
    endService();
}

} // namespace
