// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "locks/WriterHandoff.h"
#include "support/Answers.h"
#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/LockFaults.h"
#include "support/LocksFree.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using Quarncommon::WriterHandoff;
using support::LockCall;
using support::SampleDeployment;

class Crowd {
public:
    Crowd(int threads, const std::function<void()>& work) {
        for (int i = 0; i < threads; ++i) {
            m_threads.emplace_back([work, this](const std::stop_token& stop) {
                while (!stop.stop_requested()) {
                    work();
                    ++m_rounds;
                }
            });
        }
        while (m_rounds < 10 * threads) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<int> m_rounds{0};
    std::vector<std::jthread> m_threads;
};

constexpr int kCrowd = 16;
constexpr int kReloads = 50;

TEST(Reload, AmongThreadsThatQueryWithoutPause_Returns) {
    SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    const Crowd crowd(kCrowd, [&] { reader.getLocalIPByUsage("service"); });
    for (int i = 0; i < kReloads; ++i) {
        reader.Reload();
    }
    writeGeneration(deployment, 2);
    reader.Reload();
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

TEST(RoleReload, AmongThreadsThatQueryWithoutPause_Returns) {
    SampleDeployment deployment;
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    const Crowd crowd(kCrowd, [&] { roles.GetMasterInternalServiceIP(); });
    for (int i = 0; i < kReloads; ++i) {
        roles.Reload();
    }
    writeGeneration(deployment, 2);
    roles.Reload();
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
}

TEST(Queries, AmongThreadsThatReloadWithoutPause_Return) {
    SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    const Crowd crowd(4, [&] { reader.Reload(); });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(reader.getLocalIPByUsage("service"), "10.1.1.3");
    }
}

class WaitingWriter {
public:
    /// Returns when the other thread waits for the write side.
    void start(const std::function<void()>& write) {
        m_thread = std::jthread(write);
        while (!m_asks) {
            std::this_thread::yield();
        }
    }
    bool started() const { return m_thread.joinable(); }
    void note(LockCall call, bool held) {
        if (call == LockCall::Write && !held) {
            m_asks = true;
        }
    }

private:
    std::atomic<bool> m_asks{false};
    std::jthread m_thread;
};

TEST(ProtocolFamily, WhileAReloadWaits_LocksTwiceWithoutWaitingForIt) {
    SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    const int family = reader.getPFType();
    {
        WaitingWriter writer;
        support::setLockHook([&](LockCall call, bool held) {
            writer.note(call, held);
            if (call == LockCall::Read && held && !writer.started()) {
                writer.start([&] { reader.Reload(); });
            }
        });
        EXPECT_EQ(reader.getPFType(), family);
        EXPECT_TRUE(writer.started());
    }
    support::expectLocksFree();
}

TEST(ChangeEvent, InAnInitThatAnotherThreadWaitsFor_DoesNotWait) {
    SampleDeployment deployment("recording");
    {
        WaitingWriter writer;
        int answer = -3;
        support::setSubscribedHook([&] {
            support::setLockHook([&](LockCall call, bool held) { writer.note(call, held); });
            writer.start([] { SysConfReaderImpl::Instance(); });
            answer = support::deliver();
        });
        EXPECT_EQ(SysConfReaderImpl::Instance()->GetProductName(), "tenancy1");
        EXPECT_EQ(answer, 0);
    }
    support::expectLocksFree();
}

TEST(WriterHandoff, Claim_IsTheFirstSecondOfEveryTen) {
    using std::chrono::milliseconds;
    constexpr std::pair<milliseconds, milliseconds> kRows[] = {
        {milliseconds(0), milliseconds(1000)},     {milliseconds(1), milliseconds(999)},
        {milliseconds(999), milliseconds(1)},      {milliseconds(1000), milliseconds(0)},
        {milliseconds(9999), milliseconds(0)},     {milliseconds(10000), milliseconds(1000)},
        {milliseconds(3600500), milliseconds(500)}};
    for (const auto& [waited, remaining] : kRows) {
        EXPECT_EQ(WriterHandoff::remainingClaim(waited), remaining) << waited.count();
    }
}

TEST(WriterHandoff, FirstWriterWaits_AReaderWaitsForItDuringTheClaim) {
    WriterHandoff handoff;
    const auto begin = Quarncommon::Clock::now();
    std::optional<WriterHandoff::Wait> writer(handoff);
    std::atomic<bool> writerWaits{true};
    std::latch readerIsHere(1);
    const std::jthread reader([&] {
        readerIsHere.count_down();
        handoff.letOneWriterPass();
        EXPECT_TRUE(!writerWaits || Quarncommon::Clock::now() - begin >= WriterHandoff::kClaim);
    });
    readerIsHere.wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    writerWaits = false;
    writer.reset();
}

TEST(WriterHandoff, WritersWithoutPause_AReaderLetsOnePass) {
    WriterHandoff handoff;
    auto next = std::make_unique<WriterHandoff::Wait>(handoff);
    std::atomic<bool> passed{false};
    const std::jthread reader([&] {
        handoff.letOneWriterPass();
        passed = true;
    });
    while (!passed) {
        auto last = std::move(next);
        next = std::make_unique<WriterHandoff::Wait>(handoff);
        last.reset();
        std::this_thread::yield();
    }
    // At every moment at least one writer was waiting, also now.
    EXPECT_TRUE(passed);
}

} // namespace
