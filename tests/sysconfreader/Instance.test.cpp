// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "support/Answers.h"
#include "support/Cancellation.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/LockFaults.h"
#include "support/LockedOpens.h"
#include "support/LocksFree.h"
#include "support/SampleTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <pthread.h>
#include <stdexcept>
#include <thread>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::expectLocksFree;
using support::LockedOpen;
using support::opensWithLocks;
using support::SampleDeployment;

TEST(Instance, Twice_IsTheSameFromOneLoad) {
    SampleDeployment deployment;
    SysConfReader* reader = SysConfReader::Instance();
    ASSERT_NE(reader, nullptr);
    support::resetOpenCalls();
    EXPECT_EQ(SysConfReader::Instance(), reader);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
}

TEST(Instance, Existing_AcquiresNoLock) {
    const Deployment deployment;
    SysConfReader::Instance();
    support::resetLockCounts();
    SysConfReader::Instance();
    const support::LockCounts locks = support::lockCounts();
    EXPECT_EQ(locks.read + locks.write + locks.unlock, 0U);
}

TEST(Instance, Creation_LoadsWithTheWriteLock) {
    const Deployment deployment;
    const std::vector<LockedOpen> opens = opensWithLocks([] { SysConfReader::Instance(); });
    // The loader creates the role reader, with the locks of both.
    EXPECT_THAT(opens, testing::ElementsAre(
                           LockedOpen("app.json", 2, 0), LockedOpen("nodelist.json", 2, 0),
                           LockedOpen("nodelist.json", 2, 0), LockedOpen("nodelists.json", 2, 0),
                           LockedOpen("nodelists.json", 2, 0), LockedOpen("app.json", 1, 0),
                           LockedOpen("nodelist.json", 1, 0)));
    expectLocksFree();
}

TEST(Reload, Loading_HoldsTheWriteLock) {
    const Deployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    const std::vector<LockedOpen> opens = opensWithLocks([&] { reader.Reload(); });
    EXPECT_THAT(opens, testing::ElementsAre(LockedOpen("app.json", 1, 0),
                                            LockedOpen("nodelist.json", 1, 0)));
    expectLocksFree();
}

TEST(Destory, ThenInstance_LoadsAgain) {
    SampleDeployment deployment;
    SysConfReader::Instance();
    writeGeneration(deployment, 2);
    SysConfReader::Destory();
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4002);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

TEST(Destory, ThenInstanceWithoutFiles_KeepsNothing) {
    SampleDeployment deployment;
    SysConfReader::Instance();
    std::filesystem::remove(deployment.appConfigPath());
    std::filesystem::remove(deployment.nodeListPath());
    SysConfReader::Destory();
    SysConfReader::Instance();
    EXPECT_EQ(support::loadedValues(deployment), support::noLoadedValues());
}

TEST(Destory, NothingExists_CreatesAndDestroysTheRoleReader) {
    SampleDeployment deployment("recording");
    for (int round = 1; round <= 3; ++round) {
        support::resetOpenCalls();
        SysConfReader::Destory();
        EXPECT_EQ(support::openCount(deployment.managerNodeListPath()), 2U);
        EXPECT_EQ(support::openCount(deployment.appConfigPath()), 1U);
        EXPECT_EQ(support::eventLibraryCalls().inits, round);
        EXPECT_EQ(support::eventLibraryCalls().finis, round);
    }
    expectLocksFree();
}

TEST(Destory, RoleReaderDestroyedBefore_CreatesItToDestroyIt) {
    SampleDeployment deployment("recording");
    SysConfReader::Instance();
    SysConfReaderImpl::Destory();
    support::resetOpenCalls();
    SysConfReader::Destory();
    EXPECT_EQ(support::openCount(deployment.managerNodeListPath()), 2U);
    EXPECT_EQ(support::eventLibraryCalls().inits, 2);
    EXPECT_EQ(support::eventLibraryCalls().finis, 2);
    EXPECT_FALSE(support::subscribed());
}

TEST(Destory, RoleReader_IsDestroyedFirstAndWithItsLockOnly) {
    SampleDeployment deployment("recording");
    const SysConfReader* reader = SysConfReader::Instance();
    support::LockCounts held;
    const SysConfReader* readerMeanwhile = nullptr;
    support::setFiniHook([&] {
        held = support::locksHeldHere();
        readerMeanwhile = SysConfReader::Instance();
    });
    SysConfReader::Destory();
    EXPECT_EQ(readerMeanwhile, reader);
    EXPECT_EQ(held.write, 1U);
    EXPECT_EQ(held.read, 0U);
    expectLocksFree();
}

TEST(Destory, WhileItRuns_InstanceOnAnotherThreadWaitsForANewOne) {
    SampleDeployment deployment("recording");
    SysConfReaderImpl::Instance();
    std::jthread other;
    std::atomic<bool> asks{false};
    std::atomic<bool> returned{false};
    std::string tenancy;
    support::setFiniHook([&] {
        support::setFiniHook(nullptr);
        support::setLockHook([&](support::LockCall call, bool held) {
            asks = asks || (call == support::LockCall::Write && !held);
        });
        other = std::jthread([&] {
            const SysConfReaderImpl* fresh = SysConfReaderImpl::Instance();
            returned = true;
            tenancy = fresh->GetProductName();
        });
        while (!asks && !returned) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(returned) << "with the instance that is being destroyed";
        writeGeneration(deployment, 2);
    });
    SysConfReaderImpl::Destory();
    other.join();
    support::setLockHook(nullptr);
    EXPECT_EQ(tenancy, "tenancy2");
    EXPECT_EQ(support::eventLibraryCalls().inits, 2);
}

TEST(Destory, EarlierAnswers_BelongToTheCaller) {
    SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    std::map<std::string, Json::Value> all;
    reader.getAllDBInfo(all);
    Json::Value info;
    reader.getDBInfo("db", info);
    const std::string tag = reader.getLocalHostTagName();
    all["db"] = "changed";
    info[0]["type"] = "changed";
    EXPECT_EQ(reader.getDBType("db", 0), "type1");
    SysConfReader::Destory();
    EXPECT_EQ(info[0]["user"], Json::Value("user1"));
    EXPECT_EQ(tag, "host1-1");
}

TEST(CancelledThread, DuringALoad_FinishesTheLoad) {
    SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    writeGeneration(deployment, 2);
    bool finished = false;
    std::thread([&] {
        support::setOpenHook([](const std::string&) { ::pthread_cancel(::pthread_self()); });
        reader.Reload();
        support::setOpenHook(nullptr);
        finished = true;
        expectLocksFree();
        support::cancelThisThread();
    }).join();
    EXPECT_TRUE(finished);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

TEST(CancelledThread, InTheEventLibrary_ReleasesTheLocksAndTheNextCallWorks) {
    SampleDeployment deployment("recording");
    support::setInitHook(support::cancelThisThread);
    for (int attempt = 1; attempt <= 3; ++attempt) {
        std::thread([] { SysConfReader::Instance(); }).join();
        EXPECT_EQ(support::eventLibraryCalls().inits, attempt);
        EXPECT_EQ(support::lockCounts().write, support::lockCounts().unlock);
    }
    support::setInitHook(nullptr);
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
    EXPECT_TRUE(support::subscribed());
}

TEST(CancelledThread, DuringAnEvent_ReleasesTheLocksAndTheNextEventIsApplied) {
    SampleDeployment deployment("recording");
    support::setInitResult(-1);
    SysConfReaderImpl* roles = SysConfReaderImpl::Instance();
    support::setInitHook(support::cancelThisThread);
    bool returned = false;
    std::thread([&] {
        SysConfReaderEventProcessCB("SysConfigEvent", "", "", roles);
        returned = true;
    }).join();
    EXPECT_FALSE(returned);
    EXPECT_EQ(support::eventLibraryCalls().inits, 2);
    expectLocksFree();
    support::setInitHook(nullptr);
    writeGeneration(deployment, 2);
    EXPECT_EQ(SysConfReaderEventProcessCB("SysConfigEvent", "", "", roles), 0);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
    // Would hang if an event were still registered as running.
    SysConfReader::Destory();
}

TEST(ThrowingEventLibrary, AtFirstUse_PublishesNothingAndTheNextCallTriesAgain) {
    SampleDeployment deployment("recording");
    support::setInitThrows(true);
    for (int attempt = 1; attempt <= 3; ++attempt) {
        EXPECT_THROW(SysConfReader::Instance(), std::runtime_error);
        EXPECT_EQ(support::eventLibraryCalls().inits, attempt);
        expectLocksFree();
    }
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    support::setInitThrows(false);
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
    EXPECT_EQ(support::eventLibraryCalls().inits, 4);
    EXPECT_TRUE(support::subscribed());
}

TEST(ThrowingEventLibrary, AtDestory_DestroysNothing) {
    SampleDeployment deployment("recording");
    const SysConfReader* reader = SysConfReader::Instance();
    SysConfReaderImpl::Destory();
    support::setInitThrows(true);
    EXPECT_THROW(SysConfReader::Destory(), std::runtime_error);
    expectLocksFree();
    EXPECT_EQ(SysConfReader::Instance(), reader);
}

TEST(ThrowingEventLibrary, AtReload_OnlyTheDatabasesAreLost) {
    SampleDeployment deployment("recording");
    support::setInitResult(-1);
    SysConfReader& reader = *SysConfReader::Instance();
    support::setInitThrows(true);
    writeGeneration(deployment, 2);
    EXPECT_THROW(reader.Reload(), std::runtime_error);
    expectLocksFree();
    support::Answers expected = support::sampleLoadedValues(1);
    expected.front().second = "";
    EXPECT_EQ(support::loadedValues(deployment), expected);

    support::setInitThrows(false);
    support::setInitResult(0);
    writeGeneration(deployment, 2);
    reader.Reload();
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
    EXPECT_TRUE(support::subscribed());
}

} // namespace
