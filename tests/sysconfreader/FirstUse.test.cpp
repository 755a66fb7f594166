// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/SampleTexts.h"
#include "support/Threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <iterator>
#include <thread>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::SampleDeployment;

constexpr std::size_t kThreads = 64;
constexpr int kRounds = 20;

std::array<std::size_t, 3> opens(const Deployment& deployment) {
    return {support::openCount(deployment.appConfigPath()),
            support::openCount(deployment.nodeListPath()),
            support::openCount(deployment.managerNodeListPath())};
}

// One load of each class.
constexpr std::array<std::size_t, 3> kLoadOfRoleReader{1, 2, 2};
constexpr std::array<std::size_t, 3> kLoadOfBoth{2, 3, 2};

template <typename Class, typename Query>
void expectOneInstanceFromOneLoad(const std::array<std::size_t, 3>& load, Query query,
                                  const std::string& expected) {
    SampleDeployment deployment;
    for (int round = 0; round < kRounds; ++round) {
        support::resetOpenCalls();
        std::array<Class*, kThreads> instances{};
        std::array<std::string, kThreads> answers;
        support::runTogether(kThreads, [&](std::size_t i) {
            instances[i] = Class::Instance();
            answers[i] = query(*instances[i]);
        });
        EXPECT_THAT(instances, testing::Each(Class::Instance()));
        EXPECT_THAT(answers, testing::Each(expected));
        EXPECT_EQ(opens(deployment), load);
        Class::Destory();
    }
}

TEST(FirstUse, SixtyFourThreads_GetOneReaderFromOneLoad) {
    expectOneInstanceFromOneLoad<SysConfReader>(
        kLoadOfBoth, [](SysConfReader& reader) { return reader.getMaintenanceIPAddress(); },
        "10.1.0.1");
}

TEST(FirstUse, SixtyFourThreads_GetOneRoleReaderFromOneLoad) {
    expectOneInstanceFromOneLoad<SysConfReaderImpl>(
        kLoadOfRoleReader, [](SysConfReaderImpl& roles) { return roles.GetProductName(); },
        "tenancy1");
}

TEST(FirstUse, SixtyFourThreads_GetOneFacadeAndOneLoadOfRoles) {
    expectOneInstanceFromOneLoad<SysConfReader_i>(
        kLoadOfRoleReader,
        [](SysConfReader_i& facade) { return facade.GetMasterInternalServiceIP(); }, "20.1.1.1");
}

TEST(FirstUse, AllClassesAtOnce_LoadOnceEach) {
    SampleDeployment deployment;
    for (int round = 0; round < kRounds; ++round) {
        support::resetOpenCalls();
        std::array<std::string, kThreads> answers;
        support::runTogether(kThreads, [&](std::size_t i) {
            switch (i % 4) {
            case 0:
                answers[i] = SysConfReader::Instance()->getLocalHostTagName();
                break;
            case 1:
                answers[i] = SysConfReaderImpl::Instance()->GetStandbyInternalServiceIP();
                break;
            case 2:
                answers[i] = SysConfReader_i::Instance()->GetLocalInternalServiceIP();
                break;
            default:
                answers[i] = SysConfReader::Instance()->GetMasterInternalServiceIP();
            }
        });
        const std::array<const char*, 4> expected{"host1-1", "20.1.2.1", "10.1.1.2", "20.1.1.1"};
        for (std::size_t i = 0; i < kThreads; ++i) {
            EXPECT_EQ(answers[i], expected[i % 4]);
        }
        EXPECT_EQ(opens(deployment), kLoadOfBoth);
        SysConfReader_i::Destory();
        SysConfReader::Destory();
    }
}

TEST(FirstUse, OfAnotherThread_IsPublishedCompletelyByThePointer) {
    SampleDeployment deployment;
    // The flag is relaxed, so that only the pointer synchronises; a thread sanitizer checks that.
    std::atomic<bool> created{false};
    const std::jthread creator([&] {
        SysConfReader::Instance();
        created.store(true, std::memory_order_relaxed);
    });
    while (!created.load(std::memory_order_relaxed)) {
        std::this_thread::yield();
    }
    // A query that acquires no lock.
    EXPECT_EQ(SysConfReader::Instance()->getLocalNorthIP(), "10.1.1.3");
}

TEST(FirstUse, SixtyFourThreads_TryToSubscribeLikeOneLoad) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    support::setInitResult(-1);
    support::runTogether(kThreads, [](std::size_t) { SysConfReader::Instance(); });
    // After a refusal each load tries: first the role reader's, then the reader's.
    EXPECT_EQ(support::eventLibraryCalls().inits, 2);
}

TEST(FirstUse, OfAllClasses_StartsNoThread) {
    SampleDeployment deployment;
    const auto threads = [] {
        const std::filesystem::directory_iterator tasks("/proc/self/task");
        return std::distance(begin(tasks), end(tasks));
    };
    const auto before = threads();
    SysConfReader::Instance()->Reload();
    SysConfReader_i::Instance()->GetProductName();
    EXPECT_EQ(threads(), before);
}

std::string threeDatabases(int generation) {
    Json::Value root;
    for (const char* name : {"a", "b", "c"}) {
        root["databases"][name] = generation;
    }
    return support::jsonText(root);
}

TEST(Reload, QueriesDuringIt_AnswerFromOneLoad) {
    constexpr int kReloads = 300;
    Deployment deployment;
    deployment.appConfig(threeDatabases(0));
    SysConfReader& reader = *SysConfReader::Instance();
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    support::runTogether(4, [&](std::size_t i) {
        if (i == 0) {
            for (int generation = 1; generation <= kReloads; ++generation) {
                deployment.appConfig(threeDatabases(generation));
                reader.Reload();
            }
            done = true;
            return;
        }
        std::map<std::string, Json::Value> all;
        int last = 0;
        while (!done) {
            reader.getAllDBInfo(all);
            if (all.size() != 3 || all["a"] != all["b"] || all["a"] != all["c"] ||
                all["a"].asInt() < last) {
                ++torn;
                break;
            }
            last = all["a"].asInt();
        }
    });
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(reader.getDBAccessPort("d", 0), -1);
}

TEST(Reload, FromManyThreads_LoadsTheNewestValues) {
    SampleDeployment deployment;
    SysConfReader::Instance();
    writeGeneration(deployment, 2);
    support::runTogether(16, [](std::size_t i) {
        if (i % 2 == 0) {
            SysConfReader::Instance()->Reload();
        } else {
            SysConfReaderImpl::Instance()->Reload();
        }
    });
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

} // namespace
