// SPDX-License-Identifier: Apache-2.0

#include "Rounds.h"
#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/InChild.h"
#include "support/LockFaults.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <semaphore>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::inChild;
using support::LockCall;

int execTrue() {
    ::execl("/bin/true", "true", nullptr);
    return 1;
}

int exitInOrder() {
    std::exit(0);
}

int ask() {
    SysConfReader& reader = *SysConfReader::Instance();
    if (reader.getLocalPort() != 4001 || reader.getLocalServiceIP() != "10.1.1.3" ||
        reader.getLocalNorthIP().empty() || reader.getPFType() < 0 ||
        reader.getDBUserName("db", 0) != "user1") {
        return 2;
    }
    if (support::roleAnswers() != support::sampleRoleAnswers(1)) {
        return 3;
    }
    reader.Reload();
    SysConfReaderImpl::Instance()->Reload();
    return reader.getFloatNodeId() == "node1" ? 0 : 4;
}

int askAndDestroy() {
    if (const int failed = ask()) {
        return failed;
    }
    SysConfReader_i::Destory();
    SysConfReader::Destory();
    return ask();
}

int askAndExit() {
    if (const int failed = ask()) {
        return failed;
    }
    std::exit(0);
}

const std::vector<std::function<int()>>& lives() {
    static const std::vector<std::function<int()>> lives{execTrue, exitInOrder, ask, askAndDestroy,
                                                         askAndExit};
    return lives;
}

class ForkedChild : public testing::Test {
protected:
    ForkedChild() { support::writeGeneration(m_deployment, 1); }
    ~ForkedChild() override { support::setLockHook(nullptr); }

    static void forkBeside(int rounds, const std::vector<std::function<void()>>& others) {
        SysConfReader::Instance();
        std::atomic<bool> done{false};
        {
            std::vector<std::jthread> threads;
            for (const auto& other : others) {
                threads.emplace_back([&done, &other] {
                    while (!done) {
                        other();
                    }
                });
            }
            for (int round = 0; round < rounds; ++round) {
                for (std::size_t life = 0; life < lives().size(); ++life) {
                    EXPECT_EQ(inChild(lives()[life]), 0) << "life " << life << ", round " << round;
                }
            }
            done = true;
        }
        EXPECT_EQ(ask(), 0);
    }

    support::Deployment m_deployment;
};

void reloadReader() {
    SysConfReader::Instance()->Reload();
}

void reloadBoth() {
    SysConfReaderImpl::Instance()->Reload();
}

void query() {
    SysConfReader& reader = *SysConfReader::Instance();
    reader.getLocalServiceIP();
    reader.getMaintenanceIPAddress();
    reader.getLocalNorthIP();
    reader.getPFType();
}

void askForRoles() {
    support::roleAnswers();
}

constexpr int kRounds = 25;

TEST_F(ForkedChild, DuringReloadsAndQueries_AnswersExecsAndExits) {
    forkBeside(endurance::rounds(kRounds), {reloadReader, reloadBoth, query, query, askForRoles});
}

TEST_F(ForkedChild, DuringEvents_AnswersExecsAndExits) {
    support::installEventLibrary("recording");
    // The child has no delivery that Fini could wait for.
    forkBeside(endurance::rounds(kRounds),
               {[] {
                    SysConfReaderEventProcessCB("SysConfigEvent", "", "",
                                                SysConfReaderImpl::Instance());
                },
                query, askForRoles});
}

TEST_F(ForkedChild, DuringDestructions_AnswersExecsAndExits) {
    forkBeside(endurance::rounds(kRounds),
               {[] {
                    SysConfReader::Instance();
                    SysConfReader_i::Instance();
                    SysConfReader_i::Destory();
                    SysConfReader::Destory();
                },
                [] { SysConfReaderImpl::Instance(); }, [] { SysConfReader::Instance(); }});
}

/// Forks during a load, with locks that the child's thread holds too.
TEST_F(ForkedChild, OfAnEventLibraryThatSubscribes_ExecsOrEndsAtOnce) {
    support::installEventLibrary("recording");
    int executed = -1;
    int ended = -1;
    support::setInitHook([&] {
        executed = inChild(execTrue);
        ended = inChild([] { return 7; });
    });
    SysConfReaderImpl::Instance();
    support::setInitHook(nullptr);
    EXPECT_EQ(executed, 0);
    EXPECT_EQ(ended, 7);
    EXPECT_EQ(ask(), 0);
}

TEST_F(ForkedChild, OfAnEventLibraryThatSubscribes_FinishesTheLoadAndAnswers) {
    support::installEventLibrary("recording");
    const pid_t parent = ::getpid();
    int status = -1;
    support::setInitHook([&] {
        if (status != -1 || ::getpid() != parent) {
            return;
        }
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(support::kPatience);
        } else {
            ::waitpid(child, &status, 0);
        }
    });
    SysConfReaderImpl::Instance();
    const int answered = ask();
    if (::getpid() != parent) {
        ::_exit(answered);
    }
    EXPECT_EQ(answered, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(ForkedChild, WithTheEventLibraryOfTheFiles_AnswersExecsAndExits) {
    std::filesystem::create_symlink(SYSCONF_EVENT_LIBRARY,
                                    support::testDirectory() / "libeventcbutil.so");
    support::setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
    forkBeside(endurance::rounds(kRounds),
               {[this] { support::writeGeneration(m_deployment, 1); }, reloadBoth, query});
    SysConfReader::Destory();
}

class Stopped {
public:
    /// Returns when that is at its call number `which` (from 1) of that kind.
    Stopped(LockCall call, bool held, int which, const std::function<void()>& work) {
        support::setLockHook([=, this](LockCall seen, bool seenHeld) {
            if (std::this_thread::get_id() == m_thread.get_id() && seen == call &&
                seenHeld == held && ++m_calls == which) {
                m_stopped.release();
                m_goOn.acquire();
            }
        });
        m_thread = std::jthread([this, work] {
            m_started.acquire();
            work();
            m_stopped.release();
        });
        m_started.release();
        m_stopped.acquire();
    }
    Stopped(const Stopped&) = delete;
    Stopped& operator=(const Stopped&) = delete;
    ~Stopped() {
        m_goOn.release();
        m_thread.join();
        support::setLockHook(nullptr);
    }
    int calls() const { return m_calls; }

private:
    std::atomic<int> m_calls{0};
    std::binary_semaphore m_started{0};
    std::counting_semaphore<> m_stopped{0};
    std::binary_semaphore m_goOn{0};
    std::jthread m_thread;
};

const std::vector<std::pair<const char*, std::function<void()>>>& operations() {
    static const std::vector<std::pair<const char*, std::function<void()>>> operations{
        {"reload of the reader", reloadReader},
        {"reload of both", reloadBoth},
        {"queries", query},
        {"roles", askForRoles},
        {"event",
         [] {
             SysConfReaderEventProcessCB("SysConfigEvent", "", "", SysConfReaderImpl::Instance());
         }},
        {"destruction", [] { SysConfReader::Destory(); }},
        {"destruction of the facade", [] { SysConfReader_i::Destory(); }},
        {"first use",
         [] {
             SysConfReader_i::Destory();
             SysConfReader::Destory();
             SysConfReader::Instance();
         }},
    };
    return operations;
}

TEST_F(ForkedChild, WhileAnotherThreadWaitsForOrHoldsEachLock_AnswersExecsAndExits) {
    support::installEventLibrary("recording");
    for (const auto& [name, operation] : operations()) {
        int stops = 0;
        for (const LockCall call : {LockCall::Read, LockCall::Write}) {
            for (const bool held : {false, true}) {
                bool reached = true;
                for (int which = 1; reached; ++which) {
                    SysConfReader::Instance();
                    askForRoles();
                    const Stopped other(call, held, which, operation);
                    reached = other.calls() == which;
                    stops += reached ? 1 : 0;
                    for (std::size_t life = 0; reached && life < lives().size(); ++life) {
                        EXPECT_EQ(inChild(lives()[life]), 0)
                            << name << ": life " << life << ", stop " << which
                            << (held ? " with" : " before") << " a lock for "
                            << (call == LockCall::Read ? "reading" : "writing");
                    }
                }
            }
        }
        EXPECT_GE(stops, 2) << name;
    }
}

/// Calls `work` while another thread is loading.
void duringALoad(const std::function<void()>& work) {
    support::installEventLibrary("recording");
    // Each load tries to subscribe after it has cleared the databases.
    support::setInitResult(-1);
    SysConfReader::Instance();
    std::binary_semaphore stopped{0};
    std::binary_semaphore goOn{0};
    support::setInitHook([&] {
        stopped.release();
        goOn.acquire();
    });
    {
        const std::jthread other(reloadReader);
        stopped.acquire();
        work();
        goOn.release();
    }
    support::setInitHook(nullptr);
}

TEST_F(ForkedChild, DuringALoad_HasNoPartlyLoadedValues) {
    duringALoad([] {
        for (std::size_t life = 0; life < lives().size(); ++life) {
            EXPECT_EQ(inChild(lives()[life]), 0) << "life " << life;
        }
    });
    EXPECT_EQ(ask(), 0);
}

TEST_F(ForkedChild, DuringALoad_ItsOwnChildUsesItsPointers) {
    duringALoad([] {
        EXPECT_EQ(inChild([] {
                      support::setInitHook(nullptr);
                      const SysConfReader* const own = SysConfReader::Instance();
                      return inChild([&] { return SysConfReader::Instance() == own ? 0 : 1; });
                  }),
                  0);
    });
}

TEST_F(ForkedChild, OfAProcessAtRest_UsesThePointersOfItsParent) {
    SysConfReader& reader = *SysConfReader::Instance();
    const SysConfReader_i& facade = *SysConfReader_i::Instance();
    facade.GetProductName();
    support::writeGeneration(m_deployment, 2);
    EXPECT_EQ(inChild([&] {
                  return SysConfReader::Instance() == &reader && reader.getLocalPort() == 4001 &&
                                 facade.GetProductName() == "tenancy1"
                             ? 0
                             : 1;
              }),
              0);
}

} // namespace
