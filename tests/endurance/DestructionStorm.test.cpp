// SPDX-License-Identifier: Apache-2.0

#include "Rounds.h"
#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/SampleTexts.h"
#include "support/Threads.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;

void destroyAll(int round) {
    void (*const destroy[])() = {&SysConfReader::Destory, &SysConfReaderImpl::Destory,
                                 &SysConfReader_i::Destory};
    constexpr std::size_t kOrders[][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2},
                                          {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (const std::size_t which : kOrders[round % 6]) {
        destroy[which]();
    }
}

/// Three threads call Instance(), two deliver events, one calls back for ended subscriptions.
TEST(DestructionStorm, DuringEventsAndCallsOfInstance_NeitherHangsNorUsesDestroyedInstances) {
    support::SampleDeployment deployment("recording");
    endurance::Watchdog watchdog;
    const int rounds = endurance::rounds(300);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::atomic<int> applied{0};
    const auto askForInstances = [&] {
        wrong += SysConfReader::Instance() == nullptr ? 1 : 0;
        wrong += SysConfReaderImpl::Instance() == nullptr ? 1 : 0;
        wrong += SysConfReader_i::Instance() == nullptr ? 1 : 0;
    };
    const auto deliver = [&] {
        const int answer = support::deliver();
        applied += answer == 0 ? 1 : 0;
        wrong += answer != 0 && answer != -2 ? 1 : 0;
    };
    const auto callBackLate = [&] {
        void* userData = support::lastUserData();
        const int answer = SysConfReaderEventProcessCB("SysConfigEvent", "", "", userData);
        wrong += answer != (userData != nullptr ? 0 : -1) ? 1 : 0;
    };
    support::runTogether(7, [&](std::size_t thread) {
        if (thread == 0) {
            for (int round = 0; round < rounds; ++round) {
                askForInstances();
                destroyAll(round);
                watchdog.progress();
            }
            done = true;
        }
        while (!done) {
            if (thread < 4) {
                askForInstances();
            } else if (thread < 6) {
                deliver();
            } else {
                callBackLate();
            }
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(applied, 0);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(1));
    destroyAll(0);
    EXPECT_FALSE(support::subscribed());
    const support::EventLibraryCalls calls = support::eventLibraryCalls();
    EXPECT_EQ(calls.subscriptions, calls.finis);
}

} // namespace
