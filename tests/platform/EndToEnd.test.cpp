// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/Resources.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using support::Deployment;
using support::setEnvironment;
namespace fs = std::filesystem;

std::string maintenanceAddress(int generation) {
    return "10." + std::to_string(generation) + ".0.1";
}

class EndToEnd : public testing::Test {
protected:
    Deployment m_deployment;

    void SetUp() override {
        setEnvironment("SYSCONF_EVENT_QUIET_MS", "1");
        fs::create_symlink(SYSCONF_EVENT_LIBRARY, support::testDirectory() / "libeventcbutil.so");
        support::writeGeneration(m_deployment, 1);
    }

    static void waitForGeneration(int generation) {
        const std::string g = std::to_string(generation);
        while (SysConfReader::Instance()->getMaintenanceIPAddress() !=
                   maintenanceAddress(generation) ||
               SysConfReader::Instance()->getLocalHostTagName() != "host" + g + "-" + g ||
               support::roleAnswers() != support::sampleRoleAnswers(generation)) {
            std::this_thread::yield();
        }
    }
};

TEST_F(EndToEnd, ChangedFiles_BecomeTheAnswersOfBothSingletons) {
    waitForGeneration(1);
    ASSERT_TRUE(support::eventLibraryLoaded());
    for (int generation = 2; generation < 20; ++generation) {
        support::writeGeneration(m_deployment, generation);
        waitForGeneration(generation);
    }
    EXPECT_EQ(SysConfReader::Instance()->GetWssPort(), 5019);
    SysConfReader::Destory();
}

TEST_F(EndToEnd, DeletedAppConfig_NoDatabasesAndTheLastAddresses) {
    waitForGeneration(1);
    fs::remove(m_deployment.appConfigPath());
    std::map<std::string, Json::Value> databases;
    do {
        databases.clear();
        SysConfReader::Instance()->getAllDBInfo(databases);
    } while (!databases.empty());
    EXPECT_EQ(SysConfReader::Instance()->getMaintenanceIPAddress(), maintenanceAddress(1));
    SysConfReader::Destory();
}

TEST_F(EndToEnd, DestoryAndNewInstance_LeaksNothingAndFollowsChanges) {
    // The library that the first round loads remains loaded.
    waitForGeneration(1);
    SysConfReader::Destory();
    waitForServiceToEnd();
    const Resources before = resources();
    for (int generation = 2; generation < 100; ++generation) {
        waitForGeneration(generation - 1);
        support::writeGeneration(m_deployment, generation);
        waitForGeneration(generation);
        SysConfReader::Destory();
        waitForServiceToEnd();
        ASSERT_EQ(resources(), before);
    }
}

TEST_F(EndToEnd, RolesDestroyedByTheFacadeAndCreatedAgain_MainReaderFollowsChanges) {
    waitForGeneration(1);
    SysConfReader_i::Instance();
    SysConfReader_i::Destory();
    waitForServiceToEnd();
    support::roleAnswers();
    support::writeGeneration(m_deployment, 2);
    waitForGeneration(2);
    SysConfReader::Destory();
    EXPECT_EQ(support::sampleRoleAnswers(2), support::roleAnswers());
    SysConfReader::Destory();
}

TEST_F(EndToEnd, TenThousandChangesDuringQueriesAndDestruction_AnswersAreFromTheLastFiles) {
    constexpr int kChanges = 10'000;
    setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
    waitForGeneration(1);
    const Resources before = resources();
    std::atomic<bool> stop{false};
    std::atomic<long> queries{0};
    std::atomic<long> destructions{0};
    // Callers must not destroy an instance that is in use: `alive`. Without `turn`, the eight
    // readers would starve the writer.
    std::vector<std::thread> threads;
    std::mutex turn;
    std::shared_mutex alive;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                std::unique_lock<std::mutex> myTurn(turn);
                const std::shared_lock<std::shared_mutex> guard(alive);
                myTurn.unlock();
                SysConfReader& reader = *SysConfReader::Instance();
                EXPECT_TRUE(reader.getMaintenanceIPAddress().starts_with("10."));
                EXPECT_NE(reader.getLocalPort(), 0);
                support::roleAnswers();
                ++queries;
            }
        });
    }
    threads.emplace_back([&] {
        while (!stop) {
            const std::lock_guard<std::mutex> myTurn(turn);
            const std::lock_guard<std::shared_mutex> guard(alive);
            SysConfReader::Destory();
            SysConfReader::Instance();
            ++destructions;
        }
    });
    const int last = kChanges + 1;
    for (int generation = 2; generation <= last; ++generation) {
        switch (generation % 3) {
        case 0:
            m_deployment.appConfig(support::jsonText(support::sampleAppConfig(generation)));
            break;
        case 1:
            m_deployment.nodeList(support::jsonText(support::sampleNodeList(generation)));
            break;
        default:
            m_deployment.managerNodeList(
                support::jsonText(support::sampleManagerNodeList(generation)));
            break;
        }
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    support::writeGeneration(m_deployment, last);
    waitForGeneration(last);
    EXPECT_GT(queries, 0);
    EXPECT_GT(destructions, 0);
    SysConfReader::Destory();
    waitForServiceToEnd();
    EXPECT_EQ(resources().descriptors, before.descriptors - 4);
    EXPECT_EQ(resources().watches, 0U);
}

} // namespace
