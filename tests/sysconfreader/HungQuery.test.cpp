// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/LockFaults.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <list>
#include <semaphore>
#include <thread>

namespace {

using Quarncommon::SysConfReader;
using support::LockCall;

constexpr std::chrono::seconds kPatience(60);

class HungQuery {
public:
    HungQuery() {
        support::setOpenHook([this](const std::string& path) {
            if (path.ends_with("nodelists.json")) {
                m_hangs.release();
                m_goOn.acquire();
            }
        });
        m_thread = std::jthread([] {
            std::list<std::string> addresses;
            SysConfReader::Instance()->getIPAddresses("assignedToTenancy", "", addresses);
        });
        m_hangs.acquire();
    }
    HungQuery(const HungQuery&) = delete;
    HungQuery& operator=(const HungQuery&) = delete;
    ~HungQuery() {
        m_goOn.release();
        m_thread.join();
        support::setOpenHook(nullptr);
    }

private:
    std::binary_semaphore m_hangs{0};
    std::binary_semaphore m_goOn{0};
    std::jthread m_thread;
};

TEST(HungQuery, WithAReloadWaiting_OtherQueriesAreAnswered) {
    support::SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    std::binary_semaphore asks{0};
    std::atomic<bool> reloaded{false};
    support::setLockHook([&](LockCall call, bool held) {
        if (call == LockCall::Write && !held) {
            asks.release();
        }
    });
    std::jthread reload;
    std::future<int> port;
    {
        const HungQuery hung;
        reload = std::jthread([&] {
            reader.Reload();
            reloaded = true;
        });
        asks.acquire();
        port = std::async(std::launch::async, [&] { return reader.getLocalPort(); });
        EXPECT_EQ(port.wait_for(kPatience), std::future_status::ready);
        EXPECT_FALSE(reloaded);
    }
    EXPECT_EQ(port.get(), 4001);
    reload.join();
    support::setLockHook(nullptr);
}

} // namespace
