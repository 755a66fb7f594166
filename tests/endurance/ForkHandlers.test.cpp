// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/InChild.h"
#include "support/LockFaults.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <semaphore>
#include <thread>
#include <unistd.h>

namespace {

using Quarncommon::SysConfReader;
using support::LockCall;

void (*g_handlers[6])() = {};

template <int which>
void handler() {
    if (g_handlers[which] != nullptr) {
        g_handlers[which]();
    }
}

void registerFirst(int /*number*/, char** /*arguments*/, char** /*environment*/) {
    ::pthread_atfork(&handler<0>, &handler<1>, &handler<2>);
}

/// Runs before shared libraries are initialised, and so before the library registers its handler.
[[gnu::section(".preinit_array"),
  gnu::used]] void (*const g_registerFirst)(int, char**, char**) = &registerFirst;

void recreate() {
    SysConfReader::Destory();
    SysConfReader::Instance();
}

int ask() {
    return SysConfReader::Instance()->getLocalPort() == 4001 &&
                   support::roleAnswers() == support::sampleRoleAnswers(1)
               ? 0
               : 1;
}

class ForkHandlers : public testing::Test {
protected:
    ForkHandlers() {
        writeGeneration(m_deployment, 1);
        support::installEventLibrary("recording");
        SysConfReader::Instance();
        ::pthread_atfork(&handler<3>, &handler<4>, &handler<5>);
        ::alarm(support::kPatience);
    }
    ~ForkHandlers() override {
        ::alarm(0);
        for (auto& handler : g_handlers) {
            handler = nullptr;
        }
    }

    support::Deployment m_deployment;
};

TEST_F(ForkHandlers, ThatDestroyAndCreate_LeaveParentAndChildWorking) {
    for (auto& handler : g_handlers) {
        handler = &recreate;
        EXPECT_EQ(support::inChild(&ask), 0);
        EXPECT_EQ(ask(), 0);
    }
    EXPECT_TRUE(support::subscribed());
}

/// A child does not inherit the alarm.
void recreateInTime() {
    ::alarm(support::kPatience);
    recreate();
}

TEST_F(ForkHandlers, OfAChildThatLacksTheOwnerOfALock_DoNotWaitForIt) {
    for (const int which : {2, 5}) {
        std::binary_semaphore stopped{0};
        std::binary_semaphore goOn{0};
        support::setLockHook([&](LockCall call, bool held) {
            static thread_local bool here = false;
            if (call == LockCall::Write && held && !std::exchange(here, true) &&
                ::getpid() != ::gettid()) {
                stopped.release();
                goOn.acquire();
            }
        });
        std::jthread reload([] { SysConfReader::Instance()->Reload(); });
        stopped.acquire();
        g_handlers[which] = &recreateInTime;
        EXPECT_EQ(support::inChild(&ask), 0)
            << (which == 2 ? "registered before" : "registered after");
        g_handlers[which] = nullptr;
        goOn.release();
        reload.join();
        support::setLockHook(nullptr);
    }
    EXPECT_EQ(ask(), 0);
}

} // namespace
