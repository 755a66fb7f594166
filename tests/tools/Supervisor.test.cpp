// SPDX-License-Identifier: Apache-2.0

#include "exec/Supervisor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>

namespace {

using namespace std::chrono_literals;
using sysconfctl::Supervisor;
using Action = Supervisor::Action;

const Supervisor::Time kBegin{};
const int kFailure = W_EXITCODE(3, 0);

Supervisor restarted() {
    Supervisor supervisor;
    supervisor.started(kBegin - 1h);
    supervisor.changed(kBegin);
    EXPECT_EQ(supervisor.ended(SIGTERM, kBegin), Action::Start);
    supervisor.started(kBegin);
    return supervisor;
}

TEST(Supervisor, ProgramThatEndsByItself_IsNotStartedAgain) {
    for (const int status : {0, kFailure, SIGSEGV}) {
        Supervisor supervisor;
        supervisor.started(kBegin);
        EXPECT_EQ(supervisor.ended(status, kBegin + 1s), Action::End);
        EXPECT_EQ(supervisor.status(), status);
    }
}

TEST(Supervisor, Change_StartsOnlyAfterTheEnd) {
    Supervisor supervisor;
    supervisor.started(kBegin);
    EXPECT_EQ(supervisor.changed(kBegin), Action::Terminate);
    EXPECT_EQ(supervisor.changed(kBegin + 1s), Action::None) << "it is stopping already";
    EXPECT_EQ(supervisor.ended(0, kBegin + 2s), Action::Start);
    EXPECT_EQ(supervisor.deadline(), std::nullopt);
}

TEST(Supervisor, ProgramThatDoesNotEnd_IsKilledOnceAfterTheGrace) {
    Supervisor supervisor;
    supervisor.started(kBegin);
    supervisor.changed(kBegin);
    EXPECT_EQ(supervisor.deadline(), kBegin + 10s);
    EXPECT_EQ(supervisor.timeReached(), Action::Kill);
    EXPECT_EQ(supervisor.deadline(), std::nullopt);
    EXPECT_EQ(supervisor.changed(kBegin + 11s), Action::None);
    EXPECT_EQ(supervisor.ended(SIGKILL, kBegin + 11s), Action::Start);
}

TEST(Supervisor, GraceInWhichTheToolWasStopped_BeginsAgain) {
    Supervisor supervisor;
    supervisor.started(kBegin);
    supervisor.continued(kBegin);
    EXPECT_EQ(supervisor.deadline(), std::nullopt) << "it is not stopping";
    supervisor.changed(kBegin);
    supervisor.continued(kBegin + 1h);
    EXPECT_EQ(supervisor.deadline(), kBegin + 1h + 10s);
    supervisor.timeReached();
    supervisor.continued(kBegin + 2h);
    EXPECT_EQ(supervisor.deadline(), std::nullopt) << "it is killed once";
}

TEST(Supervisor, EarlyFailuresAfterARestart_GetFivePauses) {
    Supervisor supervisor = restarted();
    Supervisor::Time now = kBegin;
    for (const auto pause : {1s, 2s, 4s, 8s, 16s}) {
        now += 9s;
        EXPECT_EQ(supervisor.ended(kFailure, now), Action::None);
        EXPECT_EQ(supervisor.changed(now), Action::None) << "there is no program to stop";
        ASSERT_EQ(supervisor.deadline(), now + pause);
        now += pause;
        EXPECT_EQ(supervisor.timeReached(), Action::Start);
        supervisor.started(now);
    }
    EXPECT_EQ(supervisor.ended(kFailure, now + 9s), Action::End);
    EXPECT_EQ(supervisor.status(), kFailure);
}

TEST(Supervisor, SuccessOrALaterFailureAfterARestart_IsTheEnd) {
    Supervisor success = restarted();
    EXPECT_EQ(success.ended(0, kBegin + 1s), Action::End);
    Supervisor later = restarted();
    EXPECT_EQ(later.ended(kFailure, kBegin + 10s), Action::End);
}

TEST(Supervisor, ProgramThatHasRunForAWhile_GetsAllPausesAgain) {
    Supervisor supervisor = restarted();
    supervisor.ended(kFailure, kBegin + 1s);
    supervisor.timeReached();
    supervisor.started(kBegin + 2s);
    supervisor.changed(kBegin + 20s);
    supervisor.ended(0, kBegin + 20s);
    supervisor.started(kBegin + 20s);
    supervisor.ended(kFailure, kBegin + 21s);
    EXPECT_EQ(supervisor.deadline(), kBegin + 22s);
}

TEST(Supervisor, Changes_DoNotRenewThePausesOfAProgramThatKeepsFailing) {
    Supervisor supervisor = restarted();
    supervisor.ended(kFailure, kBegin + 1s);
    supervisor.timeReached();
    supervisor.started(kBegin + 2s);
    supervisor.changed(kBegin + 3s);
    supervisor.ended(0, kBegin + 3s);
    supervisor.started(kBegin + 3s);
    supervisor.ended(kFailure, kBegin + 4s);
    EXPECT_EQ(supervisor.deadline(), kBegin + 6s);
}

TEST(Supervisor, RequestToEnd_IsPassedAndEndsRestarts) {
    for (const int number : {SIGTERM, SIGINT, SIGQUIT}) {
        Supervisor supervisor = restarted();
        EXPECT_EQ(supervisor.signalled(number, false), Action::Pass);
        EXPECT_EQ(supervisor.changed(kBegin + 1s), Action::None);
        EXPECT_EQ(supervisor.ended(number, kBegin + 2s), Action::End) << "although it is early";
        EXPECT_EQ(supervisor.status(), number);
    }
}

TEST(Supervisor, RequestToEndWhileStopping_SendsNoSecondSignalAndEnds) {
    Supervisor supervisor;
    supervisor.started(kBegin);
    supervisor.changed(kBegin);
    EXPECT_EQ(supervisor.signalled(SIGTERM, false), Action::None);
    EXPECT_EQ(supervisor.signalled(SIGINT, false), Action::Pass);
    EXPECT_EQ(supervisor.deadline(), kBegin + 10s) << "it is still killed";
    EXPECT_EQ(supervisor.ended(0, kBegin + 1s), Action::End);
}

TEST(Supervisor, RequestToEndInAPause_EndsLikeByThatSignal) {
    Supervisor supervisor = restarted();
    supervisor.ended(kFailure, kBegin + 1s);
    EXPECT_EQ(supervisor.signalled(SIGUSR1, false), Action::None);
    EXPECT_EQ(supervisor.signalled(SIGHUP, false), Action::None);
    EXPECT_EQ(supervisor.signalled(SIGTERM, false), Action::End);
    EXPECT_EQ(supervisor.status(), SIGTERM);
}

TEST(Supervisor, RequestToEndBeforeTheFirstStart_EndsLikeByThatSignal) {
    Supervisor supervisor;
    EXPECT_EQ(supervisor.signalled(SIGUSR1, false), Action::None);
    EXPECT_EQ(supervisor.signalled(SIGINT, false), Action::End);
    EXPECT_EQ(supervisor.status(), SIGINT);
}

TEST(Supervisor, SignalsOfTheTerminal_AreNotSentASecondTime) {
    for (const int number : {SIGINT, SIGQUIT, SIGTSTP, SIGWINCH}) {
        Supervisor supervisor;
        supervisor.started(kBegin);
        EXPECT_EQ(supervisor.signalled(number, true), Action::None) << number;
    }
    Supervisor otherGroup;
    otherGroup.started(kBegin);
    EXPECT_EQ(otherGroup.signalled(SIGINT, true, false), Action::Pass);
    Supervisor supervisor = restarted();
    supervisor.signalled(SIGINT, true);
    EXPECT_EQ(supervisor.ended(SIGINT, kBegin + 1s), Action::End);
}

TEST(Supervisor, Hangup_ReachesTheProgramAndEndsRestartsIfTheTerminalIsGone) {
    Supervisor supervisor = restarted();
    EXPECT_EQ(supervisor.signalled(SIGHUP, false), Action::Pass);
    EXPECT_EQ(supervisor.changed(kBegin + 20s), Action::Terminate);
    EXPECT_EQ(supervisor.signalled(SIGHUP, true), Action::Pass);
    EXPECT_EQ(supervisor.ended(SIGHUP, kBegin + 21s), Action::End);
}

TEST(Supervisor, OtherSignals_ArePassedAndChangeNothing) {
    Supervisor supervisor = restarted();
    for (const int number : {SIGUSR1, SIGUSR2, SIGWINCH, SIGTSTP, SIGCONT}) {
        EXPECT_EQ(supervisor.signalled(number, false), Action::Pass) << number;
    }
    EXPECT_EQ(supervisor.changed(kBegin + 1s), Action::Terminate);
}

} // namespace
