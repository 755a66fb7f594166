// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/EventLibrary.h"
#include "support/SampleTexts.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::SampleDeployment;

void throwRuntimeError() {
    throw std::runtime_error("on purpose");
}

TEST(ProcessEnd, EventLibraryThrowsAtTheEndOfTheSubscription_EndsTheProcess) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    SysConfReaderImpl::Instance();
    support::setFiniHook(throwRuntimeError);
    EXPECT_EXIT(SysConfReaderImpl::Destory(), testing::KilledBySignal(SIGABRT), "on purpose");
    EXPECT_EXIT(SysConfReader::Destory(), testing::KilledBySignal(SIGABRT), "on purpose");
}

TEST(ProcessEnd, RoleReaderCannotBeCreatedToDestroyTheFacade_EndsTheProcess) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    SysConfReader_i::Instance();
    support::setInitHook(throwRuntimeError);
    EXPECT_EXIT(SysConfReader_i::Destory(), testing::KilledBySignal(SIGABRT), "on purpose");
}

TEST(ProcessEnd, InstancesNotDestroyed_ExitsNormally) {
    SampleDeployment deployment("recording");
    SysConfReader::Instance();
    SysConfReader_i::Instance()->GetProductName();
    EXPECT_EXIT(std::exit(EXIT_SUCCESS), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

[[noreturn]] void exitBesideEvents() {
    SysConfReader::Instance();
    std::atomic<int> applied{0};
    std::thread([&applied, roles = SysConfReaderImpl::Instance()] {
        for (;;) {
            applied += SysConfReaderEventProcessCB("SysConfigEvent", "", "", roles) == 0 ? 1 : 0;
            applied.notify_all();
        }
    }).detach();
    applied.wait(0);
    std::exit(EXIT_SUCCESS);
}

TEST(ProcessEnd, EventsDuringExit_AreRefused) {
    SampleDeployment deployment("recording");
    for (int round = 0; round < 20; ++round) {
        EXPECT_EXIT(exitBesideEvents(), testing::ExitedWithCode(EXIT_SUCCESS), "");
    }
}

#ifndef THREAD_SANITIZED // which reports that the lock of an unfinished load is destroyed
constexpr unsigned int kPatience = 60; // seconds

[[noreturn]] void exitHere() {
    std::exit(EXIT_SUCCESS);
}

/// The first subscription is refused, so that the next load calls Init again, which calls `exit`.
[[noreturn]] void exitInsideTheNextSubscription(const std::function<void()>& load,
                                                const std::function<void()>& exit = exitHere) {
    ::alarm(kPatience);
    support::setInitResult(-1);
    SysConfReader::Instance();
    support::setInitResult(0);
    support::setInitHook(exit);
    load();
    std::_Exit(EXIT_FAILURE);
}

TEST(ProcessEnd, ExitDuringAnEvent_DoesNotWaitForThatEvent) {
    SampleDeployment deployment("recording");
    EXPECT_EXIT(exitInsideTheNextSubscription([] {
                    SysConfReaderEventProcessCB("SysConfigEvent", "", "",
                                                SysConfReaderImpl::Instance());
                }),
                testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(ProcessEnd, ExitInASignalHandlerDuringAnEvent_DoesNotWaitForThatEvent) {
    SampleDeployment deployment("recording");
    EXPECT_EXIT(exitInsideTheNextSubscription(
                    [] {
                        SysConfReaderEventProcessCB("SysConfigEvent", "", "",
                                                    SysConfReaderImpl::Instance());
                    },
                    [] {
                        std::signal(SIGUSR1, [](int) { exitHere(); });
                        ::pthread_kill(::pthread_self(), SIGUSR1);
                    }),
                testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(ProcessEnd, ExitDuringALaterInit_DoesNotWaitForThatLoad) {
    SampleDeployment deployment("recording");
    EXPECT_EXIT(exitInsideTheNextSubscription([] { SysConfReader::Instance()->Reload(); }),
                testing::ExitedWithCode(EXIT_SUCCESS), "");
}

[[noreturn]] void exitBesideAHungEvent() {
    ::alarm(kPatience);
    support::setInitResult(-1);
    SysConfReader::Instance();
    static std::binary_semaphore hangs{0};
    support::setInitHook([] {
        hangs.release();
        for (;;) {
            ::pause();
        }
    });
    std::thread([roles = SysConfReaderImpl::Instance()] {
        SysConfReaderEventProcessCB("SysConfigEvent", "", "", roles);
    }).detach();
    hangs.acquire();
    std::exit(EXIT_SUCCESS);
}

TEST(ProcessEnd, EventThatHangs_IsWaitedForWithALimit) {
    SampleDeployment deployment("recording");
    EXPECT_EXIT(exitBesideAHungEvent(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}
#endif

Deployment* g_deployment = nullptr;

/// Runs during exit(). The readers still answer, which shows whether an event was applied.
void exitAfterALateEvent() {
    writeGeneration(*g_deployment, 2);
    const int answer =
        SysConfReaderEventProcessCB("SysConfigEvent", "", "", SysConfReaderImpl::Instance());
    const int port = SysConfReader::Instance()->getLocalPort();
    std::_Exit(answer == 0 && port == 4001 ? EXIT_SUCCESS : EXIT_FAILURE);
}

[[noreturn]] void exitWithALateEvent() {
    // Registered before the library's own handler, so it runs after that.
    std::atexit(exitAfterALateEvent);
    SysConfReader::Instance();
    std::exit(EXIT_FAILURE);
}

TEST(ProcessEnd, EventAfterTheLibrarysExitHandler_IsNotApplied) {
    Deployment deployment;
    g_deployment = &deployment;
    writeGeneration(deployment, 1);
    support::installEventLibrary("recording");
    EXPECT_EXIT(exitWithALateEvent(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

} // namespace
