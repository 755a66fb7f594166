// SPDX-License-Identifier: Apache-2.0
// Every operation works without its locks, sets errno, and releases only locks that it holds.

#include "support/LockFaults.h"
#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/LocksFree.h"
#include "support/Operations.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

namespace {

using operations::Locks;
using operations::Operation;
using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::LockCall;
using support::SampleDeployment;

struct Situation {
    const char* name;
    void (*enter)(Deployment& files);
};

const Situation kSituations[] = {
    {"new files", [](Deployment& files) { operations::writeFiles(files, "b"); }},
    {"no files",
     [](Deployment& files) {
         for (const auto& path : operations::paths(files)) {
             std::filesystem::remove(path);
         }
     }},
    {"roots unset",
     [](Deployment& /*files*/) {
         support::setEnvironment("APP_ROOT", nullptr);
         support::setEnvironment("TOLM_ROOT", nullptr);
     }},
};

struct Outcome {
    std::string answer;
    int error = 0;
    support::LockCounts locks;
    operations::Answers after;
};

/// Uses new instances; the fault lasts for the operation only.
Outcome outcome(const Operation& operation, const Situation& situation, void (*fault)(int),
                int error) {
    operations::destroyAll();
    Deployment files;
    operations::writeFiles(files, "a");
    operations::prepare(operation);
    situation.enter(files);
    operations::Outputs outputs = operations::outputs();
    support::resetLockCounts();
    Outcome outcome;
    fault(error);
    errno = 0;
    operation.call(outputs);
    outcome.error = errno;
    fault(0);
    outcome.locks = support::lockCounts();
    outcome.answer = outputs.toText();
    outcome.after = operations::answers();
    return outcome;
}

void noFault(int /*error*/) {}

void expectWorksInSpiteOf(void (*fault)(int), std::initializer_list<Locks> locks) {
    for (const Operation& operation : operations::all()) {
        if (std::find(locks.begin(), locks.end(), operation.locks) == locks.end()) {
            continue;
        }
        for (const Situation& situation : kSituations) {
            const Outcome undisturbed = outcome(operation, situation, noFault, 0);
            for (const int error : {EAGAIN, EDEADLK, EINVAL}) {
                SCOPED_TRACE(testing::Message()
                             << operation.name << ", " << situation.name << ", error " << error);
                const Outcome faulty = outcome(operation, situation, fault, error);
                EXPECT_EQ(faulty.answer, undisturbed.answer);
                EXPECT_EQ(faulty.error, error);
                EXPECT_EQ(operations::differences(faulty.after, undisturbed.after), "");
                EXPECT_EQ(faulty.locks.read + faulty.locks.write, faulty.locks.unlock);
                support::expectNoLockHeld();
            }
        }
    }
}

TEST(LockFaults, None_EveryOperationAcquiresItsLocksAndReleasesThem) {
    for (const Operation& operation : operations::all()) {
        for (const Situation& situation : kSituations) {
            SCOPED_TRACE(testing::Message() << operation.name << ", " << situation.name);
            const support::LockCounts locks = outcome(operation, situation, noFault, 0).locks;
            EXPECT_EQ(locks.read + locks.write > 0, operation.locks != Locks::None);
            EXPECT_EQ(locks.write > 0, operation.locks == Locks::Write);
            EXPECT_EQ(locks.read + locks.write, locks.unlock);
            support::expectNoLockHeld();
        }
    }
}

TEST(LockFaults, ReadLock_EveryQueryAnswersWithoutIt) {
    expectWorksInSpiteOf([](int error) { support::failLockCalls(LockCall::Read, error); },
                         {Locks::Read});
}

TEST(LockFaults, WriteLock_EveryChangeIsMadeWithoutIt) {
    expectWorksInSpiteOf([](int error) { support::failLockCalls(LockCall::Write, error); },
                         {Locks::Write});
}

TEST(LockFaults, EveryAcquisition_EveryOperationWorksWithoutAnyUnlock) {
    expectWorksInSpiteOf(
        [](int error) {
            support::failLockCalls(LockCall::Read, error);
            support::failLockCalls(LockCall::Write, error);
            // Only a call that releases a lock that it does not hold gets this error.
            support::failLockCalls(LockCall::Unlock, error != 0 ? EPERM : 0);
        },
        {Locks::Read, Locks::Write});
}

TEST(LockFaults, Release_EveryOperationSetsErrno) {
    expectWorksInSpiteOf([](int error) { support::misreportUnlocks(error); },
                         {Locks::Read, Locks::Write});
}

TEST(LockFaults, EveryLockCall_OperationsWithoutALockAreUnaffected) {
    const auto everything = [](int error) {
        support::failLockCalls(LockCall::Read, error);
        support::failLockCalls(LockCall::Write, error);
        support::failLockCalls(LockCall::Unlock, error);
    };
    for (const Operation& operation : operations::all()) {
        if (operation.locks == Locks::None) {
            SCOPED_TRACE(operation.name);
            const Outcome undisturbed = outcome(operation, kSituations[0], noFault, 0);
            const Outcome faulty = outcome(operation, kSituations[0], everything, EDEADLK);
            EXPECT_EQ(faulty.answer, undisturbed.answer);
            EXPECT_EQ(operations::differences(faulty.after, undisturbed.after), "");
            EXPECT_NE(faulty.error, EDEADLK);
        }
    }
}

TEST(LockFaults, WriteLockOfTwoCreations_FirstPublishedInstanceIsKeptAndSubscribed) {
    SampleDeployment deployment("recording");
    support::failLockCalls(LockCall::Write, EAGAIN);
    SysConfReaderImpl* first = nullptr;
    support::setInitHook([&] {
        support::setInitHook(nullptr);
        first = SysConfReaderImpl::Instance();
        // The event is delivered to the second one.
        writeGeneration(deployment, 2);
    });
    EXPECT_EQ(SysConfReaderImpl::Instance(), first);
    ASSERT_NE(first, nullptr);
    // The second one replaced the first in the event library and was then discarded. The first one
    // is subscribed again and has the change.
    EXPECT_EQ(support::eventLibraryCalls().subscriptions, 3);
    EXPECT_EQ(support::eventLibraryCalls().finis, 0);
    EXPECT_EQ(support::lastUserData(), first);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
    writeGeneration(deployment, 3);
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(3));
}

TEST(LockFaults, WriteLockOfTwoCreations_ReaderIsReloadedWithWhatChangedBetweenTheSubscriptions) {
    SampleDeployment deployment("recording");
    SysConfReader& reader = *SysConfReader::Instance();
    SysConfReaderImpl::Destory();
    support::failLockCalls(LockCall::Write, EAGAIN);
    support::setInitHook([&] {
        support::setInitHook(nullptr);
        SysConfReaderImpl::Instance();
        writeGeneration(deployment, 2);
    });
    EXPECT_EQ(reader.getLocalPort(), 4001);
    SysConfReaderImpl::Instance();
    EXPECT_EQ(reader.getLocalPort(), 4002);
}

TEST(LockFaults, ReleaseThatLeavesTheReadLockHeld_SetsErrnoAndReadersContinue) {
    SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    support::failLockCalls(LockCall::Unlock, EINVAL);
    errno = 0;
    EXPECT_EQ(reader.getLocalPort(), 4001);
    EXPECT_EQ(errno, EINVAL);
    support::failLockCalls(LockCall::Unlock, 0);
    EXPECT_EQ(reader.GetWssPort(), 5001);
    support::releaseLocksHeldHere();
}

TEST(LockFaults, ReleaseThatLeavesTheWriteLockHeld_ThisThreadStillGetsAnswers) {
    SampleDeployment deployment;
    support::failLockCalls(LockCall::Unlock, EINVAL);
    errno = 0;
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(errno, EINVAL);
    support::failLockCalls(LockCall::Unlock, 0);
    errno = 0;
    EXPECT_EQ(reader.getLocalPort(), 4001);
    EXPECT_EQ(errno, EDEADLK);
    support::releaseLocksHeldHere();
    EXPECT_EQ(reader.getLocalPort(), 4001);
}

} // namespace
