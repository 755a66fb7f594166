// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/LockFaults.h"
#include "support/LocksFree.h"
#include "support/SampleTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::SampleDeployment;

TEST(Facade, Twice_IsTheSame) {
    const Deployment deployment;
    const SysConfReader_i* facade = SysConfReader_i::Instance();
    ASSERT_NE(facade, nullptr);
    support::resetLockCounts();
    EXPECT_EQ(SysConfReader_i::Instance(), facade);
    EXPECT_EQ(support::lockCounts().read + support::lockCounts().write, 0U);
}

TEST(Facade, Creation_ReadsNothing) {
    SampleDeployment deployment("recording");
    SysConfReader_i::Instance();
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    EXPECT_EQ(support::eventLibraryCalls().inits, 0);
}

TEST(Facade, FirstQuery_CreatesAndLoadsTheRoleReader) {
    SampleDeployment deployment("recording");
    EXPECT_EQ(SysConfReader_i::Instance()->GetProductName(), "tenancy1");
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 1U);
    EXPECT_EQ(support::eventLibraryCalls().inits, 1);
    EXPECT_EQ(SysConfReaderImpl::Instance()->GetProductName(), "tenancy1");
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 1U);
}

TEST(Facade, Queries_AnswerLikeTheRoleReader) {
    SampleDeployment deployment;
    const SysConfReader_i& facade = *SysConfReader_i::Instance();
    const SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    EXPECT_EQ(facade.GetLocalInternalServiceIP(), roles.GetLocalInternalServiceIP());
    EXPECT_EQ(facade.GetMasterInternalServiceIP(), roles.GetMasterInternalServiceIP());
    EXPECT_EQ(facade.GetStandbyInternalServiceIP(), roles.GetStandbyInternalServiceIP());
    EXPECT_EQ(facade.GetProductName(), roles.GetProductName());
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
}

TEST(Facade, Query_AcquiresOnlyTheRoleReadersReadLock) {
    SampleDeployment deployment;
    const SysConfReader_i& facade = *SysConfReader_i::Instance();
    facade.GetProductName();
    support::resetLockCounts();
    facade.GetProductName();
    EXPECT_EQ(support::lockCounts().read, 1U);
    EXPECT_EQ(support::lockCounts().write, 0U);
    EXPECT_EQ(support::lockCounts().unlock, 1U);
}

TEST(Facade, RoleQueriesOfTheReader_AreForwardedHere) {
    SampleDeployment deployment;
    const SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.GetMasterInternalServiceIP(), "20.1.1.1");
    EXPECT_EQ(reader.GetStandbyInternalServiceIP(), "20.1.2.1");
}

TEST(Facade, RoleReaderReloaded_AnswersTheNewValues) {
    SampleDeployment deployment;
    SysConfReader_i::Instance()->GetProductName();
    writeGeneration(deployment, 2);
    SysConfReaderImpl::Instance()->Reload();
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
}

TEST(Facade, RoleReaderDestroyed_QueryCreatesANewOne) {
    SampleDeployment deployment;
    SysConfReader_i* facade = SysConfReader_i::Instance();
    for (void (*destory)() : {&SysConfReaderImpl::Destory, &SysConfReader::Destory}) {
        writeGeneration(deployment, 1);
        facade->GetProductName();
        destory();
        writeGeneration(deployment, 2);
        support::resetOpenCalls();
        EXPECT_EQ(facade->GetProductName(), "tenancy2");
        EXPECT_EQ(support::openCount(deployment.appConfigPath()), 1U);
        EXPECT_EQ(SysConfReader_i::Instance(), facade);
        SysConfReaderImpl::Destory();
    }
}

TEST(FacadeDestory, NoFacade_DoesNothing) {
    SampleDeployment deployment("recording");
    SysConfReader_i::Destory();
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    SysConfReaderImpl::Instance();
    SysConfReader_i::Destory();
    EXPECT_TRUE(support::subscribed());
    EXPECT_EQ(support::eventLibraryCalls().finis, 0);
}

TEST(FacadeDestory, RoleReaderNeverUsed_CreatesLoadsAndDestroysIt) {
    SampleDeployment deployment("recording");
    SysConfReader_i::Instance();
    SysConfReader_i::Destory();
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 1U);
    EXPECT_EQ(support::openCount(deployment.nodeListPath()), 2U);
    EXPECT_EQ(support::openCount(deployment.managerNodeListPath()), 2U);
    EXPECT_EQ(support::eventLibraryCalls().inits, 1);
    EXPECT_EQ(support::eventLibraryCalls().finis, 1);
    EXPECT_FALSE(support::subscribed());
    EXPECT_EQ(support::lockCounts().write, support::lockCounts().unlock);
}

TEST(FacadeDestory, RoleReaderInUse_IsDestroyedAndUnsubscribed) {
    SampleDeployment deployment("recording");
    SysConfReader_i::Instance()->GetProductName();
    support::resetOpenCalls();
    SysConfReader_i::Destory();
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    EXPECT_EQ(support::eventLibraryCalls().finis, 1);
    writeGeneration(deployment, 2);
    EXPECT_EQ(SysConfReader_i::Instance()->GetProductName(), "tenancy2");
}

TEST(FacadeDestory, RoleReader_IsDestroyedWithTheFacadesLockAndItsOwn) {
    SampleDeployment deployment("recording");
    SysConfReader_i::Instance()->GetProductName();
    support::LockCounts held;
    support::setFiniHook([&] { held = support::locksHeldHere(); });
    SysConfReader_i::Destory();
    EXPECT_EQ(held.write, 2U);
    EXPECT_EQ(held.read, 0U);
    EXPECT_EQ(support::locksHeldHere().write, 0U);
}

TEST(FacadeDestory, Reader_RemainsUnchanged) {
    SampleDeployment deployment;
    const SysConfReader* reader = SysConfReader::Instance();
    SysConfReader_i::Instance();
    writeGeneration(deployment, 2);
    support::resetOpenCalls();
    SysConfReader_i::Destory();
    EXPECT_EQ(SysConfReader::Instance(), reader);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
}

TEST(FacadeDestory, EventInsideTheSubscription_ReloadsTheReaderAndLeavesNoRoleReader) {
    SampleDeployment deployment("recording");
    SysConfReader& reader = *SysConfReader::Instance();
    SysConfReader_i::Instance();
    SysConfReaderImpl::Destory();
    writeGeneration(deployment, 2);
    int answer = -3;
    support::setSubscribedHook([&] { answer = support::deliver(); });
    SysConfReader_i::Destory();
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(reader.getLocalPort(), 4002);
    EXPECT_EQ(support::eventLibraryCalls().finis, 2);
    EXPECT_FALSE(support::subscribed());
    support::expectLocksFree();
}

TEST(FacadeDestory, Repeated_CreatesANewFacadeEachTime) {
    SampleDeployment deployment("recording");
    for (int round = 1; round <= 5; ++round) {
        EXPECT_EQ(SysConfReader_i::Instance()->GetProductName(), "tenancy1");
        SysConfReader_i::Destory();
        SysConfReader_i::Destory();
        EXPECT_EQ(support::eventLibraryCalls().inits, round);
        EXPECT_EQ(support::eventLibraryCalls().finis, round);
    }
}

} // namespace
