// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/LockFaults.h"
#include "support/LocksFree.h"
#include "support/SampleTexts.h"
#include "support/Threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::expectLocksFree;
using support::SampleDeployment;

constexpr const char* kEvent = "SysConfigEvent";

void loadOneWriteTwo(Deployment& deployment) {
    writeGeneration(deployment, 1);
    SysConfReader::Instance();
    writeGeneration(deployment, 2);
    support::resetOpenCalls();
}

TEST(ChangeEvent, RightName_ReloadsBothReaders) {
    Deployment deployment;
    support::installEventLibrary("recording");
    loadOneWriteTwo(deployment);
    const SysConfReader* reader = SysConfReader::Instance();
    const SysConfReaderImpl* roles = SysConfReaderImpl::Instance();
    EXPECT_EQ(support::deliver(kEvent), 0);
    EXPECT_EQ(SysConfReader::Instance(), reader);
    EXPECT_EQ(SysConfReaderImpl::Instance(), roles);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 2U);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
    expectLocksFree();
}

TEST(ChangeEvent, RightName_ReloadsTheReaderBeforeTheRoleReader) {
    Deployment deployment;
    support::installEventLibrary("recording");
    loadOneWriteTwo(deployment);
    std::vector<std::string> names;
    std::vector<std::size_t> held;
    support::setOpenHook([&](const std::string& path) {
        names.push_back(std::filesystem::path(path).filename());
        held.push_back(support::locksHeldHere().write);
    });
    support::deliver(kEvent);
    support::setOpenHook(nullptr);
    EXPECT_THAT(names,
                testing::ElementsAre("app.json", "nodelist.json", "app.json", "nodelist.json",
                                     "nodelist.json", "nodelists.json", "nodelists.json"));
    EXPECT_THAT(held, testing::Each(1U)) << "one lock at a time";
}

TEST(ChangeEvent, OtherName_IsRefusedAndReloadsNothing) {
    Deployment deployment;
    support::installEventLibrary("recording");
    loadOneWriteTwo(deployment);
    for (const std::string& event : {std::string("SysConfigEvent "), std::string(" SysConfigEvent"),
                                     std::string("sysconfigevent"), std::string("SYSCONFIGEVENT"),
                                     std::string("SysConfigEven"), std::string("SysConfigEvents"),
                                     std::string("SysConfigEvent\0", 15), std::string("")}) {
        SCOPED_TRACE(event);
        EXPECT_EQ(support::deliver(event), -1);
        EXPECT_EQ(SysConfReaderEventProcessCB(event, "", "", SysConfReaderImpl::Instance()), -1);
    }
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(1));
}

TEST(ChangeEvent, NoUserData_IsRefusedAndReloadsNothing) {
    Deployment deployment;
    loadOneWriteTwo(deployment);
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", nullptr), -1);
    EXPECT_EQ(SysConfReaderEventProcessCB("other", "", "", nullptr), -1);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
}

TEST(ChangeEvent, OtherTexts_AreIgnored) {
    Deployment deployment;
    loadOneWriteTwo(deployment);
    SysConfReaderImpl* roles = SysConfReaderImpl::Instance();
    int generation = 2;
    for (const char* second : {"", "SysConfigEvent", "x"}) {
        for (const char* third : {"", "-1", "{}"}) {
            writeGeneration(deployment, generation);
            EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, second, third, roles), 0);
            EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4000 + generation);
            ++generation;
        }
    }
}

TEST(ChangeEvent, UserDataOfNoRoleReader_IsNotUsed) {
    Deployment deployment;
    loadOneWriteTwo(deployment);
    for (const std::uintptr_t address :
         {std::uintptr_t{1}, std::uintptr_t{16}, ~std::uintptr_t{0}}) {
        EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", reinterpret_cast<void*>(address)), 0);
    }
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", SysConfReader::Instance()), 0);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    expectLocksFree();
}

TEST(ChangeEvent, UserDataOfADestroyedRoleReader_IsNotUsed) {
    SampleDeployment deployment;
    void* destroyed = SysConfReaderImpl::Instance();
    SysConfReaderImpl::Destory();
    support::resetOpenCalls();
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", destroyed), 0);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    expectLocksFree();
}

TEST(ChangeEvent, UserDataOfAnEarlierRoleReader_DoesNotReloadTheNewOne) {
    SampleDeployment deployment;
    void* destroyed = SysConfReaderImpl::Instance();
    SysConfReaderImpl::Destory();
    // The new role reader must not get the same memory, unless the allocator does not reuse it.
    constexpr std::size_t kEnough = 10000;
    std::vector<std::unique_ptr<char[]>> placeholders;
    do {
        placeholders.push_back(std::make_unique<char[]>(sizeof(SysConfReaderImpl)));
    } while (placeholders.back().get() != destroyed && placeholders.size() < kEnough);
    void* created = SysConfReaderImpl::Instance();
    ASSERT_NE(created, destroyed);
    support::resetOpenCalls();
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", destroyed), 0);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", created), 0);
    EXPECT_GT(support::openCount(deployment.managerNodeListPath()), 0U);
}

TEST(ChangeEvent, NothingExists_CreatesNothing) {
    SampleDeployment deployment;
    int anything = 0;
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", &anything), 0);
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", nullptr), -1);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
}

TEST(ChangeEvent, ReaderAbsent_IsCreated) {
    SampleDeployment deployment("recording");
    SysConfReaderImpl::Instance();
    writeGeneration(deployment, 2);
    support::resetOpenCalls();
    EXPECT_EQ(support::deliver(kEvent), 0);
    // The creation of the reader, its reload, and the reload of the role reader.
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 3U);
    support::resetOpenCalls();
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4002);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    EXPECT_EQ(support::eventLibraryCalls().inits, 1);
}

TEST(ChangeEvent, EventsInARow_AreAllApplied) {
    SampleDeployment deployment("recording");
    SysConfReader& reader = *SysConfReader::Instance();
    for (int generation = 2; generation <= 50; ++generation) {
        writeGeneration(deployment, generation);
        EXPECT_EQ(support::deliver(kEvent), 0);
        EXPECT_EQ(reader.getLocalPort(), 4000 + generation);
        EXPECT_EQ(SysConfReader_i::Instance()->GetProductName(),
                  "tenancy" + std::to_string(generation));
    }
    EXPECT_EQ(support::eventLibraryCalls().inits, 1);
}

TEST(ChangeEvent, FromManyThreads_AllAreAppliedAndAnswersAreFromTheLastFiles) {
    SampleDeployment deployment("recording");
    SysConfReader::Instance();
    std::atomic<int> applied{0};
    for (int generation = 2; generation <= 10; ++generation) {
        writeGeneration(deployment, generation);
        support::runTogether(16, [&](std::size_t) { applied += support::deliver(kEvent) == 0; });
        EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4000 + generation);
        EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(generation));
    }
    EXPECT_EQ(applied, 9 * 16);
    EXPECT_EQ(support::eventLibraryCalls().inits, 1);
    expectLocksFree();
}

TEST(ChangeEvent, AfterTheEndOfTheSubscription_IsDropped) {
    SampleDeployment deployment("recording");
    SysConfReader::Instance();
    void* const kept = support::lastUserData();
    int during = -3;
    support::setFiniHook([&] { during = SysConfReaderEventProcessCB(kEvent, "", "", kept); });
    SysConfReader::Destory();
    EXPECT_EQ(during, 0);
    support::resetOpenCalls();
    support::runTogether(
        16, [&](std::size_t) { EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", kept), 0); });
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    expectLocksFree();
}

TEST(ChangeEvent, LibraryThrowsDuringTheReload_ReturnsMinusOneAndReleasesTheLocks) {
    Deployment deployment;
    support::installEventLibrary("recording");
    support::setInitResult(-1);
    loadOneWriteTwo(deployment);
    SysConfReaderImpl* roles = SysConfReaderImpl::Instance();
    support::setInitThrows(true);
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", roles), -1);
    expectLocksFree();
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));

    support::setInitThrows(false);
    support::setInitResult(0);
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", roles), 0);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
    EXPECT_TRUE(support::subscribed());
    expectLocksFree();
    // Would hang if an event were still registered as running.
    SysConfReader::Destory();
    EXPECT_FALSE(support::subscribed());
}

TEST(ChangeEvent, LibraryThrowsWhileTheReaderIsCreated_LeavesNoReader) {
    SampleDeployment deployment("recording");
    support::setInitResult(-1);
    SysConfReaderImpl* roles = SysConfReaderImpl::Instance();
    support::setInitThrows(true);
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", roles), -1);
    expectLocksFree();
    support::setInitThrows(false);
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", roles), 0);
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
}

/// During the first load, which continues when the delivery has begun.
class DeliveryDuringTheLoad {
public:
    DeliveryDuringTheLoad() {
        support::setSubscribedHook([this] {
            m_thread = std::thread([this] {
                m_begun = true;
                m_begun.notify_all();
                m_answer = support::deliver(kEvent);
            });
            m_begun.wait(false);
        });
    }
    ~DeliveryDuringTheLoad() { finish(); }
    DeliveryDuringTheLoad(const DeliveryDuringTheLoad&) = delete;
    DeliveryDuringTheLoad& operator=(const DeliveryDuringTheLoad&) = delete;

    int finish() {
        support::setSubscribedHook(nullptr);
        if (m_thread.joinable()) {
            m_thread.join();
        }
        return m_answer;
    }

private:
    std::atomic<bool> m_begun{false};
    int m_answer = -3;
    std::thread m_thread;
};

template <typename Class>
void expectAppliedAfterTheFirstLoad() {
    Deployment deployment;
    support::installEventLibrary("recording");
    for (int round = 0; round < 30; ++round) {
        writeGeneration(deployment, 1);
        support::resetOpenCalls();
        DeliveryDuringTheLoad delivery;
        const Class* created = Class::Instance();
        EXPECT_EQ(delivery.finish(), 0);
        EXPECT_EQ(Class::Instance(), created);
        // Two loads of each reader.
        EXPECT_EQ(support::openCount(deployment.appConfigPath()), 4U);
        EXPECT_EQ(support::openCount(deployment.managerNodeListPath()), 4U);
        SysConfReader::Destory();
    }
    expectLocksFree();
}

TEST(ChangeEvent, DuringTheFirstLoadOfTheReader_IsAppliedAfterIt) {
    expectAppliedAfterTheFirstLoad<SysConfReader>();
}

TEST(ChangeEvent, DuringTheFirstLoadOfTheRoleReader_IsAppliedAfterIt) {
    expectAppliedAfterTheFirstLoad<SysConfReaderImpl>();
}

TEST(ChangeEvent, AfterALoadHasReadTheFiles_ReadsThemAgain) {
    SampleDeployment deployment("recording");
    DeliveryDuringTheLoad delivery;
    // The files change before the role reader's load opens the last one.
    int opens = 0;
    support::setOpenHook([&](const std::string&) {
        if (++opens == 5) {
            support::setOpenHook(nullptr);
            writeGeneration(deployment, 2);
        }
    });
    SysConfReaderImpl::Instance();
    EXPECT_EQ(delivery.finish(), 0);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

TEST(ChangeEvent, DuringAFirstLoadWhoseLockCallFailed_IsAppliedAfterIt) {
    SampleDeployment deployment("recording");
    SysConfReader& reader = *SysConfReader::Instance();
    SysConfReaderImpl::Destory();
    int answer = -3;
    int opens = 0;
    support::setOpenHook([&](const std::string&) {
        if (++opens == 5) {
            support::setOpenHook(nullptr);
            writeGeneration(deployment, 2);
            std::thread([&] { answer = support::deliver(kEvent); }).join();
        }
    });
    support::failLockCalls(support::LockCall::Write, EAGAIN);
    SysConfReaderImpl::Instance();
    support::failLockCalls(support::LockCall::Write, 0);
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
    EXPECT_EQ(reader.getLocalPort(), 4002);
}

TEST(ChangeEvent, DuringInit_NeitherHangsNorCreatesASecondReader) {
    SampleDeployment deployment("recording");
    int answer = -3;
    support::setSubscribedHook([&] { answer = support::deliver(kEvent); });
    SysConfReader* reader = SysConfReader::Instance();
    // The load that continues after the subscription reads the files.
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 2U);
    EXPECT_EQ(SysConfReader::Instance(), reader);
    EXPECT_EQ(reader->getLocalPort(), 4001);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
    expectLocksFree();
    SysConfReader::Destory();
}

TEST(ChangeEvent, DuringInitOfASecondRoleReader_ReloadsTheExistingReader) {
    SampleDeployment deployment("recording");
    SysConfReader& reader = *SysConfReader::Instance();
    SysConfReaderImpl::Destory();
    writeGeneration(deployment, 2);
    int answer = -3;
    support::setSubscribedHook([&] { answer = support::deliver(kEvent); });
    SysConfReaderImpl::Instance();
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(reader.getLocalPort(), 4002);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
    expectLocksFree();
}

TEST(ChangeEvent, ThatDestroysTheReaders_DestroysThemAfterIt) {
    SampleDeployment deployment("recording");
    support::setInitResult(-1);
    SysConfReader* reader = SysConfReader::Instance();
    SysConfReaderImpl* roles = SysConfReaderImpl::Instance();
    support::setInitResult(0);
    SysConfReader* readerMeanwhile = nullptr;
    support::setInitHook([&] {
        support::setInitHook(nullptr);
        SysConfReaderImpl::Destory();
        SysConfReader::Destory();
        SysConfReader_i::Instance();
        SysConfReader_i::Destory();
        readerMeanwhile = SysConfReader::Instance();
    });
    writeGeneration(deployment, 2);
    EXPECT_EQ(SysConfReaderEventProcessCB(kEvent, "", "", roles), 0);
    EXPECT_EQ(readerMeanwhile, reader);
    EXPECT_EQ(support::eventLibraryCalls().subscriptions, 1);
    EXPECT_EQ(support::eventLibraryCalls().finis, 1);
    expectLocksFree();
    support::resetOpenCalls();
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4002);
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 2U) << "both are new";
}

TEST(ChangeEvent, DuringInitInTheReadersFirstLoad_CreatesOneReader) {
    // The event needs a reader before the load has published its own.
    SampleDeployment deployment("recording");
    support::setInitResult(-1);
    SysConfReaderImpl::Instance();
    support::setInitResult(0);
    int answer = -3;
    const SysConfReader* ofTheEvent = nullptr;
    support::setSubscribedHook([&] {
        answer = support::deliver(kEvent);
        ofTheEvent = SysConfReader::Instance();
    });
    EXPECT_EQ(SysConfReader::Instance(), ofTheEvent);
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(SysConfReader::Instance(), ofTheEvent);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(1));
    expectLocksFree();
}

} // namespace
