// Where the process ends: in the middle of events, or because a destruction threw.

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/EventLibrary.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;

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

TEST(ProcessEnd, RoleReaderCannotBeCreatedForTheFacadesEnd_EndsTheProcess) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    SysConfReader_i::Instance();
    support::setInitHook(throwRuntimeError);
    EXPECT_EXIT(SysConfReader_i::Destory(), testing::KilledBySignal(SIGABRT), "on purpose");
}

TEST(ProcessEnd, InstancesLeftAlone_EndsAsItShould) {
    Deployment deployment;
    writeGeneration(deployment, 1);
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    SysConfReader_i::Instance()->GetProductName();
    // Nobody ends the subscription: the process ends, and the event library with it.
    EXPECT_EXIT(std::exit(EXIT_SUCCESS), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

[[noreturn]] void exitBesideEvents() {
    SysConfReader::Instance();
    std::atomic<int> applied{0};
    // The thread goes on until the process is gone.
    std::thread([&applied, roles = SysConfReaderImpl::Instance()] {
        for (;;) {
            applied += SysConfReaderEventProcessCB("SysConfigEvent", "", "", roles) == 0 ? 1 : 0;
            applied.notify_all();
        }
    }).detach();
    applied.wait(0);
    std::exit(EXIT_SUCCESS);
}

TEST(ProcessEnd, EventsThatGoOn_AreTurnedAway) {
    Deployment deployment;
    writeGeneration(deployment, 1);
    support::installEventLibrary("recording");
    for (int round = 0; round < 20; ++round) {
        EXPECT_EXIT(exitBesideEvents(), testing::ExitedWithCode(EXIT_SUCCESS), "");
    }
}

Deployment* g_deployment = nullptr;

/// Runs while the process ends. The readers still answer, and tell whether an event was applied.
void exitAfterALateEvent() {
    writeGeneration(*g_deployment, 2);
    const int answer =
        SysConfReaderEventProcessCB("SysConfigEvent", "", "", SysConfReaderImpl::Instance());
    const int port = SysConfReader::Instance()->getLocalPort();
    std::_Exit(answer == 0 && port == 4001 ? EXIT_SUCCESS : EXIT_FAILURE);
}

[[noreturn]] void exitWithALateEvent() {
    // Registered before the library registers its own end, and so run after that.
    std::atexit(exitAfterALateEvent);
    SysConfReader::Instance();
    std::exit(EXIT_FAILURE);
}

TEST(ProcessEnd, EventAfterTheLibrarysOwnEnd_IsNotApplied) {
    Deployment deployment;
    g_deployment = &deployment;
    writeGeneration(deployment, 1);
    support::installEventLibrary("recording");
    EXPECT_EXIT(exitWithALateEvent(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

} // namespace
