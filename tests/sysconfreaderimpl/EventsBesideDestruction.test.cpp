// SPDX-License-Identifier: Apache-2.0
// Events during destructions and creations of instances. At the end of a subscription the event
// library waits for running deliveries.

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
using support::Deployment;

constexpr int kRounds = 2000;
constexpr int kFewerRounds = 1000;

/// Each of the others on its own thread until `round` is done.
template <typename Round, typename... Others>
void runBeside(int rounds, Round round, Others... others) {
    std::atomic<bool> done{false};
    support::runTogether(1 + sizeof...(others), [&](std::size_t thread) {
        if (thread == 0) {
            for (int i = 0; i < rounds; ++i) {
                round();
            }
            done = true;
            return;
        }
        std::size_t index = 0;
        const auto runIfMine = [&](auto& other) {
            if (++index == thread) {
                while (!done) {
                    other();
                }
            }
        };
        (runIfMine(others), ...);
    });
}

class EventsBesideDestruction : public testing::Test {
protected:
    EventsBesideDestruction() {
        writeGeneration(m_deployment, 1);
        support::installEventLibrary("recording");
    }

    auto deliveries() {
        return [this] {
            const int answer = support::deliver();
            m_applied += answer == 0 ? 1 : 0;
            m_wrong += answer != 0 && answer != -2 ? 1 : 0;
        };
    }

    auto lateCallbacks() {
        return [this] {
            void* userData = support::lastUserData();
            const int answer = SysConfReaderEventProcessCB("SysConfigEvent", "", "", userData);
            m_wrong += answer != (userData != nullptr ? 0 : -1) ? 1 : 0;
        };
    }

    void expectSound() {
        EXPECT_EQ(m_wrong, 0);
        EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
        EXPECT_TRUE(support::subscribed());
        EXPECT_EQ(support::deliver(), 0);
        EXPECT_EQ(support::loadedValues(m_deployment), support::sampleLoadedValues(1));
        SysConfReader_i::Destory();
        SysConfReader::Destory();
        EXPECT_FALSE(support::subscribed());
        const support::EventLibraryCalls calls = support::eventLibraryCalls();
        EXPECT_EQ(calls.subscriptions, calls.finis);
    }

    Deployment m_deployment;
    std::atomic<int> m_applied{0};
    std::atomic<int> m_wrong{0};
};

template <typename Class>
void recreate() {
    Class::Instance();
    Class::Destory();
}

TEST_F(EventsBesideDestruction, OfEachClass_NeitherHangNorUseADestroyedInstance) {
    int ended = 0;
    for (void (*round)() :
         {&recreate<SysConfReader>, &recreate<SysConfReaderImpl>, &recreate<SysConfReader_i>}) {
        writeGeneration(m_deployment, 1);
        runBeside(kRounds, round, deliveries(), lateCallbacks());
        ended += kRounds;
        EXPECT_GE(support::eventLibraryCalls().finis, ended);
        expectSound();
    }
}

TEST_F(EventsBesideDestruction, DuringQueries_AnswersAreAlwaysRight) {
    const SysConfReader_i& facade = *SysConfReader_i::Instance();
    const auto questions = [&] {
        m_wrong += facade.GetMasterInternalServiceIP() != "20.1.1.1" ? 1 : 0;
        m_wrong += facade.GetProductName() != "tenancy1" ? 1 : 0;
    };
    runBeside(kFewerRounds, &recreate<SysConfReaderImpl>, deliveries(), questions);
    expectSound();
}

TEST_F(EventsBesideDestruction, DuringReloadsOfTheReader_NoSubscriptionIsLost) {
    // The reader's loader may ask a role reader to subscribe that is being destroyed.
    SysConfReader& reader = *SysConfReader::Instance();
    const auto reloads = [&] {
        reader.Reload();
        m_wrong += reader.getLocalPort() != 4001 ? 1 : 0;
    };
    runBeside(
        kFewerRounds, reloads, [] { SysConfReaderImpl::Destory(); }, deliveries());
    expectSound();
}

TEST_F(EventsBesideDestruction, AfterARefusal_NoSubscriptionIsLost) {
    SysConfReader& reader = *SysConfReader::Instance();
    int loads = 0;
    const auto reloads = [&] {
        support::setInitResult(++loads % 3 == 0 ? 0 : -1);
        reader.Reload();
    };
    runBeside(
        kFewerRounds, reloads, [] { SysConfReaderImpl::Destory(); }, lateCallbacks());
    support::setInitResult(0);
    reader.Reload();
    expectSound();
}

TEST_F(EventsBesideDestruction, DuringTwoDestructions_NeitherHangNorUseADestroyedInstance) {
    runBeside(kFewerRounds, &recreate<SysConfReaderImpl>, &recreate<SysConfReader_i>, deliveries());
    expectSound();
}

} // namespace
