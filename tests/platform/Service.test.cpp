// SPDX-License-Identifier: Apache-2.0

#include "EventConsumerCB.h"
#include "OpenDescriptors.h"
#include "Recorder.h"
#include "SubscribedProcess.h"
#include "WatchFaults.h"
#include "support/Deployment.h"
#include "support/Resources.h"
#include "support/Sanitizers.h"
#include "support/TestDirectory.h"
#include "support/Threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <set>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using support::setEnvironment;
using support::writeFile;
using testing::ElementsAre;
namespace fs = std::filesystem;

class EventService : public SubscribedProcess {
protected:
    void SetUp() override {
        SubscribedProcess::SetUp();
        setEnvironment("SYSCONF_EVENT_QUIET_MS", "5");
        writeFile(m_deployment.appConfigPath(), "{}");
        writeFile(m_deployment.managerNodeListPath(), "{}");
    }
};

int countCall(const std::string&, const std::string& second, const std::string& third,
              void* userData) {
    if (second.empty() && third.empty()) {
        ++*static_cast<std::atomic<int>*>(userData);
    }
    return 0;
}

TEST_F(EventService, Init_CopiesTheRecordAndTheTexts) {
    std::atomic<int> calls{0};
    {
        auto callback = std::make_unique<EventConsumerCallback>();
        *callback = {countCall, &calls};
        auto name = std::make_unique<std::string>("SysConfigEvent");
        ASSERT_EQ(EventConsumerCBInit(*name, "", callback.get()), 0);
        *callback = {nullptr, nullptr};
        *name = "gone";
    }
    writeFile(m_file, "after");
    while (calls == 0) {
        std::this_thread::yield();
    }
    endService();
    EXPECT_EQ(calls, 1);
}

TEST_F(EventService, OtherEventOrNoFunction_InitFailsAndLeaksNothing) {
    const Resources before = resources();
    const EventConsumerCallback callback = m_recorder.record();
    const EventConsumerCallback noFunction{nullptr, &m_recorder};
    EXPECT_LT(EventConsumerCBInit("SysConfigEvent ", "", &callback), 0);
    EXPECT_LT(EventConsumerCBInit("sysconfigevent", "", &callback), 0);
    EXPECT_LT(EventConsumerCBInit("", "", &callback), 0);
    EXPECT_LT(EventConsumerCBInit("SysConfigEvent", "", nullptr), 0);
    EXPECT_LT(EventConsumerCBInit("SysConfigEvent", "", &noFunction), 0);
    EXPECT_EQ(resources(), before);
}

TEST_F(EventService, SystemCallFails_InitFailsAndSucceedsLater) {
    const Resources before = resources();
    const std::pair<Call, int> rows[] = {
#ifndef SANITIZED
        {Call::RegisterFork, ENOMEM}, // only the first subscription registers
        {Call::ThreadCreate, EAGAIN},
#endif
        {Call::AddWatch, ENOSPC},     {Call::InotifyInit, EMFILE}, {Call::Pipe, EMFILE},
    };
    for (const auto& [call, error] : rows) {
        failCalls(call, error);
        EXPECT_LT(m_recorder.subscribe(), 0);
        EventConsumerCBFini();
        failCalls(call, 0);
        EXPECT_EQ(resources(), before);
    }
    subscribeAndSeeAChange();
    endService();
}

/// For example generated code.
TEST_F(EventService, CallbackOutsideAllLibraries_IsSubscribed) {
    const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const page = ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    EventConsumerCallback callback = m_recorder.record();
    callback.callback = reinterpret_cast<EventProcessCallback*>(page);
    EXPECT_EQ(EventConsumerCBInit("SysConfigEvent", "", &callback), 0);
    endService();
    ::munmap(page, size);
}

TEST_F(EventService, WorkingDirectoryDeleted_InitFailsForRelativePaths) {
    const fs::path here = support::testDirectory() / "here";
    fs::create_directory(here);
    fs::current_path(here);
    fs::remove(here);
    setEnvironment("APP_ROOT", "app");
    EXPECT_LT(m_recorder.subscribe(), 0);
    setEnvironment("APP_ROOT", m_deployment.appRoot().c_str());
    EXPECT_EQ(m_recorder.subscribe(), 0);
    endService();
}

/// The thread is held in a callback during the writes, so that it reads all reports afterwards.
TEST_F(EventService, AThousandWritesInOneBurst_AreOneEvent) {
    Barrier barrier;
    holdACallback(barrier);
    for (int i = 1; i <= 1000; ++i) {
        if (i % 2 == 0) {
            writeFile(m_file, std::to_string(i));
        } else {
            writeInPlace(m_file, std::to_string(i));
        }
    }
    barrier.letGo();
    m_recorder.waitForText("1000");
    seeAChange("last");
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after", "1000", "last"));
}

TEST_F(EventService, UnrelatedFilesInTheSameFolders_NoEvent) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    const fs::path folder = m_file.parent_path();
    for (int i = 0; i < 100; ++i) {
        writeFile(folder / "nodelist.json.bak", std::to_string(i));
        writeFile(folder.parent_path() / "other", std::to_string(i));
        writeFile(support::testDirectory() / "nodelist.json", std::to_string(i));
    }
    seeAChange("after");
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after"));
}

TEST_F(EventService, FileChangedInTheCallbackAndBackAfterIt_IsAnnounced) {
    std::atomic<int> calls{0};
    m_recorder.setHook([&] {
        if (calls++ == 0) {
            writeFile(m_file, "in between");
        }
        return 0;
    });
    subscribeAndSeeAChange();
    m_recorder.waitForText("in between");
    writeFile(m_file, "after");
    m_recorder.waitForCount(3);
    endService();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after", "in between", "after"));
}

TEST_F(EventService, SeveralSubscriptions_AreCalledOnOneThread) {
    std::atomic<pid_t> firstThread{0};
    std::atomic<pid_t> secondThread{0};
    Recorder second(m_file);
    m_recorder.setHook([&] {
        firstThread = ::gettid();
        return 0;
    });
    second.setHook([&] {
        secondThread = ::gettid();
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    ASSERT_EQ(second.subscribe(), 0);
    EXPECT_EQ(serviceThreads(), 1U);
    seeAChange("after");
    second.waitForText("after");
    endService();
    EXPECT_NE(firstThread, 0);
    EXPECT_EQ(firstThread, secondThread);
}

TEST_F(EventService, SameSubscriptionTwice_SecondReplacesTheFirst) {
    const fs::path elsewhere = support::testDirectory() / "elsewhere/etc/sysconf/nodelist.json";
    writeFile(elsewhere, "before");
    ASSERT_EQ(m_recorder.subscribe(), 0);
    const Resources once = resources();
    setEnvironment("APP_ROOT", (support::testDirectory() / "elsewhere").c_str());
    ASSERT_EQ(m_recorder.subscribe(), 0);
    EXPECT_EQ(resources().threads, once.threads);
    writeFile(m_file, "no longer of interest");
    writeFile(elsewhere, "after");
    m_recorder.waitForCount(1);
    endService();
    EXPECT_EQ(m_recorder.callbacks(), 1U);
    EXPECT_EQ(resources().descriptors, once.descriptors - 4);
}

TEST_F(EventService, Fini_EndsThreadAndDescriptors) {
    const Resources before = resources();
    ASSERT_EQ(m_recorder.subscribe(), 0);
    const Resources during = resourcesAtRest(1);
    EXPECT_EQ(during.threads, before.threads + 1);
    EXPECT_EQ(during.descriptors, before.descriptors + 4);
    EXPECT_GT(during.watches, before.watches);
    endService();
    EXPECT_EQ(resources(), before);
    EventConsumerCBFini();
    EXPECT_EQ(resources(), before);
}

TEST_F(EventService, SubscribedAndEndedAThousandTimes_WorksAndLeaksNothing) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    endService();
    const Resources before = resources();
    for (int i = 0; i < 1000; ++i) {
        Recorder second(m_file);
        ASSERT_EQ(m_recorder.subscribe(), 0);
        if (i % 10 == 0) {
            ASSERT_EQ(second.subscribe(), 0);
            seeAChange(std::to_string(i));
            second.waitForText(std::to_string(i));
        }
        endService();
    }
    EXPECT_EQ(resources(), before);
}

TEST_F(EventService, FiniWithALockThatTheCallbackNeeds_WaitIsBoundedAndNoCallbackFollows) {
    std::mutex lock;
    Barrier inCallback;
    holdACallback(inCallback, &lock);
    Recorder second(m_file);
    ASSERT_EQ(second.subscribe(), 0);
    {
        const std::lock_guard<std::mutex> guard(lock);
        inCallback.letGo();
        writeFile(m_file, "too late");
        EventConsumerCBFini();
        EXPECT_EQ(serviceThreads(), 1U);
    }
    waitForServiceToEnd();
    EXPECT_THAT(m_recorder.texts(), ElementsAre("after"));
    EXPECT_THAT(second.texts(), ElementsAre());
}

TEST_F(EventService, SubscribedWhileACallbackOfAnEndedSubscriptionRuns_Works) {
    Barrier inCallback;
    holdACallback(inCallback);
    EventConsumerCBFini();
    Recorder second(m_file);
    ASSERT_EQ(second.subscribe(), 0);
    writeFile(m_file, "second's");
    second.waitForText("second's");
    inCallback.letGo();
    endService();
    waitForServiceToEnd();
    EXPECT_EQ(m_recorder.callbacks(), 1U);
}

TEST_F(EventService, FiniAndInitInTheCallback_TakeEffect) {
    const Resources before = resources();
    Recorder second(m_file);
    std::atomic<int> subscribed{1};
    m_recorder.setHook([&] {
        EventConsumerCBFini();
        subscribed = second.subscribe();
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    while (subscribed == 1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(subscribed, 0);
    writeFile(m_file, "second's");
    second.waitForText("second's");
    endService();
    EXPECT_EQ(m_recorder.callbacks(), 1U);
    EXPECT_EQ(resources(), before);
}

/// The program's crash handler must get the thread's own faults.
TEST_F(EventService, ItsThread_IsNamedAndBlocksAllSignalsExceptFaults) {
    std::vector<int> open;
    m_recorder.setHook([&] {
        sigset_t blocked;
        ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        // The C library reserves 32 and 33, and SIGKILL and SIGSTOP cannot be blocked.
        for (int signal = 1; signal <= SIGRTMAX; ++signal) {
            const bool can = signal != SIGKILL && signal != SIGSTOP && signal != 32 && signal != 33;
            if (can && ::sigismember(&blocked, signal) == 0) {
                open.push_back(signal);
            }
        }
        return 0;
    });
    sigset_t mineBefore;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mineBefore);
    ASSERT_EQ(m_recorder.subscribe(), 0);
    sigset_t mineAfter;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mineAfter);
    EXPECT_EQ(::sigismember(&mineAfter, SIGTERM), ::sigismember(&mineBefore, SIGTERM));
    EXPECT_EQ(serviceThreads(), 1U);
    writeFile(m_file, "after");
    m_recorder.waitForCount(1);
    endService();
    EXPECT_THAT(open, testing::UnorderedElementsAre(SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGSYS,
                                                    SIGTRAP, SIGABRT));
}

TEST_F(EventService, AllDescriptors_AreCloseOnExecAndAboveTheStandardStreams) {
    const std::set<int> before = openDescriptors();
    for (const int stream : {0, 1, 2}) {
        ASSERT_GE(::fcntl(stream, F_DUPFD, 100), 100);
        ::close(stream);
    }
    const int subscribed = m_recorder.subscribe();
    std::set<int> own = openedSince(before);
    for (const int stream : {0, 1, 2}) {
        EXPECT_LT(::fcntl(stream, F_GETFD), 0) << stream;
        ::dup2(100 + stream, stream);
        ::close(100 + stream);
        own.erase(100 + stream);
    }
    ASSERT_EQ(subscribed, 0);
    EXPECT_EQ(own.size(), kOwnDescriptors);
    for (const int number : own) {
        EXPECT_NE(::fcntl(number, F_GETFD) & FD_CLOEXEC, 0) << number;
    }
    endService();
}

TEST_F(EventService, KernelRefusesWatchesForAWhile_ChangesAreDeliveredDuringItAndAfter) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    failCalls(Call::AddWatch, ENOSPC);
    fs::rename(m_deployment.appRoot(), m_deployment.appRoot().string() + ".old");
    seeAChange("without watches");
    seeAChange("found by reading");
    failCalls(Call::AddWatch, 0);
    seeAChange("watched again");
    endService();
    EXPECT_EQ(m_recorder.texts().back(), "watched again");
}

TEST_F(EventService, SubscribedAndEndedByManyThreadsDuringChanges_LeaksNothing) {
    const Resources before = resources();
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (int i = 0; !stop; ++i) {
            writeFile(m_file, std::to_string(i));
        }
    });
    Recorder recorders[4] = {Recorder(m_file), Recorder(m_file), Recorder(m_file),
                             Recorder(m_file)};
    setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
    support::runTogether(4, [&](std::size_t i) {
        for (int round = 0; round < 200; ++round) {
            EXPECT_EQ(recorders[i].subscribe(), 0);
            EventConsumerCBFini();
        }
    });
    stop = true;
    writer.join();
    endService();
    // The kernel may still list the joined threads.
    while (resources().threads > before.threads) {
        std::this_thread::yield();
    }
    EXPECT_EQ(resources(), before);
}

} // namespace
