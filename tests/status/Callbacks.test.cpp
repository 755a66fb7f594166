// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReaderStatus.h"
#include "SysConfReader_i.h"
#include "support/EventLibrary.h"
#include "support/LocksFree.h"
#include "support/Operations.h"
#include "support/Resources.h"
#include "support/SampleTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <functional>
#include <mutex>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using Status = Quarncommon::SysConfReaderStatus;
using testing::ElementsAre;
using testing::IsEmpty;

class Subscribed {
public:
    explicit Subscribed(std::function<void()> work = [] {}) : m_work(std::move(work)) {
        m_id = Status::subscribe(&Subscribed::call, this);
    }
    Subscribed(const Subscribed&) = delete;
    Subscribed& operator=(const Subscribed&) = delete;
    ~Subscribed() { Status::unsubscribe(m_id); }

    unsigned long long id() const { return m_id; }
    const std::vector<unsigned long long>& generations() const { return m_generations; }

private:
    static void call(unsigned long long generation, void* userData) {
        auto& self = *static_cast<Subscribed*>(userData);
        {
            const std::lock_guard<std::mutex> guard(self.m_mutex);
            self.m_generations.push_back(generation);
        }
        self.m_work();
    }

    std::function<void()> m_work;
    /// Guards m_generations: threads may load at the same time.
    std::mutex m_mutex;
    std::vector<unsigned long long> m_generations;
    unsigned long long m_id = 0;
};

class Callback : public testing::Test {
protected:
    Callback() {
        support::installEventLibrary("recording");
        writeGeneration(m_files, 1);
    }

    support::Deployment m_files;
};

TEST_F(Callback, AfterEachOperationThatLoads_IsCalledOnce) {
    const Subscribed subscribed;
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_THAT(subscribed.generations(), ElementsAre(2));
    reader.Reload();
    EXPECT_THAT(subscribed.generations(), ElementsAre(2, 3));
    SysConfReaderImpl::Instance()->Reload();
    EXPECT_THAT(subscribed.generations(), ElementsAre(2, 3, 5));
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_THAT(subscribed.generations(), ElementsAre(2, 3, 5, 7));
    reader.getLocalSouthIP();
    EXPECT_THAT(subscribed.generations(), ElementsAre(2, 3, 5, 7));
    SysConfReader::Destory();
    EXPECT_THAT(subscribed.generations(), ElementsAre(2, 3, 5, 7));
    SysConfReader_i::Instance()->GetProductName();
    EXPECT_THAT(subscribed.generations(), ElementsAre(2, 3, 5, 7, 8));
}

TEST_F(Callback, DestructionThatLoadsFirst_CallsIt) {
    const Subscribed subscribed;
    SysConfReader_i::Instance();
    SysConfReader_i::Destory();
    EXPECT_THAT(subscribed.generations(), ElementsAre(1));
    SysConfReader::Destory();
    EXPECT_THAT(subscribed.generations(), ElementsAre(1, 2));
}

TEST_F(Callback, AfterAnEvent_SeesBothReadersChangedAndTheEventCounted) {
    SysConfReader::Instance();
    writeGeneration(m_files, 2);
    int port = 0;
    std::string tenancy;
    unsigned long long applied = 0;
    const Subscribed subscribed([&] {
        port = SysConfReader::Instance()->getLocalPort();
        tenancy = SysConfReader_i::Instance()->GetProductName();
        applied = Status::read().eventsApplied;
    });
    support::deliver();
    EXPECT_EQ(port, 4002);
    EXPECT_EQ(tenancy, "tenancy2");
    EXPECT_EQ(applied, 1U);
}

TEST_F(Callback, OfAnyLoad_HoldsNoLockAndMayCallEveryOperation) {
    operations::writeFiles(m_files, "a");
    operations::createAll();
    const operations::Answers expected = operations::answers();
    int calls = 0;
    const Subscribed subscribed([&] {
        support::expectNoLockHeld();
        EXPECT_EQ(operations::differences(operations::answers(), expected), "");
        SysConfReader::Instance()->Reload();
        SysConfReaderImpl::Instance()->Reload();
        Status::read();
        Status::closeDescriptor(Status::openDescriptor());
        ++calls;
    });
    SysConfReader::Instance()->Reload();
    SysConfReaderImpl::Instance()->Reload();
    support::deliver();
    SysConfReader::Destory();
    operations::createAll();
    EXPECT_EQ(calls, 4) << "its own loads call it no further";
    support::expectLocksFree();
}

TEST_F(Callback, OfAnEventWithinASubscription_IsCalledWhenTheLoadAroundItHoldsNoLock) {
    // The role reader was refused; now the reader's first load subscribes it.
    support::setInitResult(-1);
    SysConfReaderImpl::Instance();
    support::setInitResult(0);
    support::setSubscribedHook([] { EXPECT_EQ(support::deliver(), 0); });
    std::vector<std::size_t> held;
    const Subscribed subscribed([&] {
        const support::LockCounts locks = support::locksHeldHere();
        held.push_back(locks.read + locks.write);
    });
    SysConfReader::Instance();
    EXPECT_THAT(held, ElementsAre(0));
}

TEST_F(Callback, ThatDestroys_IsFollowedByTheDestruction) {
    for (const bool byEvent : {false, true}) {
        SysConfReader::Instance();
        const Subscribed subscribed([] { SysConfReader::Destory(); });
        if (byEvent) {
            // Not by the event library, whose end of the subscription waits for deliveries.
            EXPECT_EQ(SysConfReaderEventProcessCB("SysConfigEvent", "", "",
                                                  SysConfReaderImpl::Instance()),
                      0);
        } else {
            SysConfReaderImpl::Instance()->Reload();
        }
        EXPECT_FALSE(support::subscribed());
        support::expectLocksFree();
    }
}

TEST_F(Callback, BesideADestruction_IsWaitedForBeforeTheSubscriptionEnds) {
    SysConfReader::Instance();
    writeGeneration(m_files, 2);
    std::binary_semaphore inside{0};
    std::string tenancy;
    std::jthread destroying;
    const Subscribed subscribed([&] {
        if (!destroying.joinable()) {
            destroying = std::jthread([&] {
                inside.release();
                SysConfReaderImpl::Destory();
            });
            inside.acquire();
            // Needs the lock under which the destruction would wait for the delivery.
            tenancy = SysConfReader_i::Instance()->GetProductName();
        }
    });
    EXPECT_EQ(support::deliver(), 0);
    destroying.join();
    EXPECT_EQ(tenancy, "tenancy2");
    EXPECT_EQ(support::eventLibraryCalls().finis, 1);
}

TEST_F(Callback, ThatThrows_DisturbsNobody) {
    const Subscribed throwing([] { throw std::runtime_error("of a callback"); });
    const Subscribed subscribed;
    EXPECT_NO_THROW(SysConfReader::Instance());
    EXPECT_THAT(throwing.generations(), ElementsAre(2));
    EXPECT_THAT(subscribed.generations(), ElementsAre(2));
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_THAT(subscribed.generations(), ElementsAre(2, 4));
}

TEST_F(Callback, ThatChangesErrno_LeavesThatOfTheCaller) {
    SysConfReader& reader = *SysConfReader::Instance();
    const Subscribed subscribed([] { errno = EXDEV; });
    errno = 0;
    reader.Reload();
    EXPECT_EQ(errno, 0);
}

TEST_F(Callback, ThatUnsubscribesItself_IsNotCalledAgain) {
    unsigned long long id = 0;
    const Subscribed subscribed([&] { Status::unsubscribe(id); });
    id = subscribed.id();
    SysConfReader::Instance()->Reload();
    SysConfReader::Instance()->Reload();
    EXPECT_THAT(subscribed.generations(), ElementsAre(2));
}

TEST_F(Callback, ThatUnsubscribesALaterOne_PreventsItsCall) {
    unsigned long long id = 0;
    const Subscribed first([&] { Status::unsubscribe(id); });
    const Subscribed second;
    id = second.id();
    SysConfReader::Instance();
    EXPECT_THAT(first.generations(), ElementsAre(2));
    EXPECT_THAT(second.generations(), IsEmpty());
}

TEST_F(Callback, UnsubscribedWhileItRuns_IsWaitedFor) {
    SysConfReader& reader = *SysConfReader::Instance();
    std::binary_semaphore inside{0};
    std::binary_semaphore unsubscribing{0};
    std::atomic<bool> ended{false};
    const Subscribed subscribed([&] {
        inside.release();
        unsubscribing.acquire();
        // Gives the other thread the chance to return too early.
        std::this_thread::yield();
        ended = true;
    });
    std::jthread loading([&] { reader.Reload(); });
    inside.acquire();
    std::jthread other([&] {
        unsubscribing.release();
        Status::unsubscribe(subscribed.id());
        EXPECT_TRUE(ended);
    });
    other.join();
    loading.join();
    reader.Reload();
    EXPECT_EQ(subscribed.generations().size(), 1U);
}

TEST_F(Callback, UnknownIds_AreIgnored) {
    const Subscribed subscribed;
    Status::unsubscribe(0);
    Status::unsubscribe(subscribed.id() + 1);
    SysConfReader::Instance();
    EXPECT_THAT(subscribed.generations(), ElementsAre(2));
    EXPECT_EQ(Status::subscribe(nullptr, nullptr), 0U);
}

TEST_F(Callback, MoreThan64_AreRefusedUntilOneIsEnded) {
    static int calls = 0;
    const auto countCalls = [](unsigned long long, void*) { ++calls; };
    std::vector<unsigned long long> ids;
    for (int i = 0; i < 64; ++i) {
        ids.push_back(Status::subscribe(countCalls, nullptr));
        EXPECT_NE(ids.back(), 0U);
    }
    EXPECT_EQ(Status::subscribe(countCalls, nullptr), 0U);
    Status::unsubscribe(ids[7]);
    const unsigned long long again = Status::subscribe(countCalls, nullptr);
    EXPECT_THAT(ids, testing::Not(testing::Contains(again)));
    Status::unsubscribe(ids[7]); // must not end its successor
    SysConfReader::Instance();
    EXPECT_EQ(calls, 64);
}

TEST_F(Callback, OnManyThreadsBesideSubscriptions_IsCalledForEveryLoad) {
    SysConfReader& reader = *SysConfReader::Instance();
    static std::atomic<int> calls{0};
    const unsigned long long id =
        Status::subscribe([](unsigned long long, void*) { ++calls; }, nullptr);
    constexpr int kLoads = 50;
    constexpr int kThreads = 4;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                for (int load = 0; load < kLoads; ++load) {
                    reader.Reload();
                    const Subscribed shortLived;
                    Status::read();
                }
            });
        }
    }
    Status::unsubscribe(id);
    EXPECT_EQ(calls, kThreads * kLoads);
    EXPECT_EQ(Status::generation(), 2U + kThreads * kLoads);
}

void repeatSubscriptions(int rounds) {
    for (int i = 0; i < rounds; ++i) {
        const Subscribed subscribed;
        const int descriptor = Status::openDescriptor();
        if (i % 50 == 0) {
            SysConfReader::Instance()->Reload();
        }
        Status::closeDescriptor(descriptor);
    }
}

/// Whether all 64 callbacks and 64 descriptors can be had.
bool allFree() {
    std::vector<unsigned long long> ids;
    std::vector<int> descriptors;
    for (int i = 0; i < 64; ++i) {
        ids.push_back(Status::subscribe([](unsigned long long, void*) {}, nullptr));
        descriptors.push_back(Status::openDescriptor());
    }
    std::for_each(ids.begin(), ids.end(), Status::unsubscribe);
    std::for_each(descriptors.begin(), descriptors.end(), Status::closeDescriptor);
    return std::count(ids.begin(), ids.end(), 0U) == 0 &&
           std::count(descriptors.begin(), descriptors.end(), -1) == 0;
}

TEST_F(Callback, ThousandsOfSubscriptionsOnThreadsAndInChildren_LeaveNothing) {
    SysConfReader::Instance();
    // Not the threads: a sanitizer may have its own.
    const std::size_t before = resources().descriptors;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([] { repeatSubscriptions(1000); });
        }
    }
    EXPECT_EQ(resources().descriptors, before);
    for (int i = 0; i < 20; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            repeatSubscriptions(200);
            ::_exit(resources().descriptors == before && allFree() ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(resources().descriptors, before);
    EXPECT_TRUE(allFree());
}

} // namespace
