// SPDX-License-Identifier: Apache-2.0
// Each system call and each allocation fails once, ten times or for a while. Either the
// subscription fails, or the next change is delivered. Nothing is leaked.

#include "EventConsumerCB.h"
#include "OpenDescriptors.h"
#include "Recorder.h"
#include "ServiceAllocations.h"
#include "SubscribedProcess.h"
#include "WatchFaults.h"
#include "support/Deployment.h"
#include "support/Resources.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using support::writeFile;
namespace fs = std::filesystem;

constexpr int kAWhile = INT_MAX;

struct Row {
    std::string name;
    Call call;
    int error;
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.name;
}

const Row kRows[] = {
    {"AddWatch_ENOMEM", Call::AddWatch, ENOMEM},
    {"AddWatch_ENOSPC", Call::AddWatch, ENOSPC},
    {"AddWatch_ESTALE", Call::AddWatch, ESTALE},
    {"Close_EINTR", Call::Close, EINTR},
    {"Close_EIO", Call::Close, EIO},
    {"Fcntl_ENOMEM", Call::Fcntl, ENOMEM},
    {"Fstat_EIO", Call::Fstat, EIO},
    {"Fstat_ESTALE", Call::Fstat, ESTALE},
    {"InotifyInit_EMFILE", Call::InotifyInit, EMFILE},
    {"Ioctl_ENOMEM", Call::Ioctl, ENOMEM},
    {"Lstat_EIO", Call::Lstat, EIO},
    {"Lstat_ENOMEM", Call::Lstat, ENOMEM},
    {"Lstat_ESTALE", Call::Lstat, ESTALE},
    {"Open_EINTR", Call::Open, EINTR},
    {"Open_EIO", Call::Open, EIO},
    {"Open_EMFILE", Call::Open, EMFILE},
    {"Pipe_EMFILE", Call::Pipe, EMFILE},
    {"Poll_EINTR", Call::Poll, EINTR},
    {"Poll_ENOMEM", Call::Poll, ENOMEM},
    {"Read_EINTR", Call::Read, EINTR},
    {"Read_EIO", Call::Read, EIO},
    {"Readlink_EIO", Call::Readlink, EIO},
    {"Readlink_ENOMEM", Call::Readlink, ENOMEM},
    {"ThreadCreate_EAGAIN", Call::ThreadCreate, EAGAIN},
    {"Write_EINTR", Call::Write, EINTR},
    {"Write_EIO", Call::Write, EIO},
};

/// The node list is reached through a link.
class TortureBase : public SubscribedProcess {
protected:
    int m_changes = 0;
    int m_works = 0;

    void SetUp() override {
        SubscribedProcess::SetUp();
        fs::rename(m_deployment.appRoot(), m_deployment.appRoot().string() + ".1");
        fs::create_directory_symlink("app.1", m_deployment.appRoot());
        // The first use allocates what the library keeps until the process exits.
        subscribeAndSeeAChange();
        endService();
        m_before = resources();
    }

    /// Switches the link, so that all paths are resolved again.
    void change(const std::string& text) {
        const std::string root = m_deployment.appRoot().string();
        const std::string next = "app." + std::to_string(++m_changes % 2);
        writeFile(root + "." + std::to_string(m_changes % 2) + "/etc/sysconf/nodelist.json", text);
        fs::create_directory_symlink(next, root + ".next");
        fs::rename(root + ".next", root);
    }

    void expectThatItWorks() {
        // Below the link, so that the service must have followed it.
        seeAChange("works " + std::to_string(++m_works));
    }

    void expectThatItEndsWithoutALeak() {
        endService();
        EXPECT_EQ(resources(), m_before);
    }

    Resources m_before{};
};

class Torture : public TortureBase, public testing::WithParamInterface<Row> {
protected:
    /// Each time followed by `check`.
    template <typename Work, typename Check>
    void fail(Work work, Check check) {
        for (const int times : {1, 10, kAWhile}) {
            SCOPED_TRACE(times);
            failCalls(GetParam().call, GetParam().error, times);
            work();
            if (times == kAWhile) {
                std::this_thread::sleep_for(std::chrono::milliseconds(300));
            }
            // Of ten failures some may happen during the check.
            if (times != 10) {
                failCalls(GetParam().call, 0);
            }
            check();
            failCalls(GetParam().call, 0);
        }
    }
};

TEST_P(Torture, Subscription_FailsOrWorks) {
    int result = 0;
    fail([&] { result = m_recorder.subscribe(); },
         [&] {
             if (result == 0) {
                 expectThatItWorks();
             }
             expectThatItEndsWithoutALeak();
         });
}

TEST_P(Torture, Delivery_TheNextChangeIsDelivered) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    fail([&] { change("while it fails " + std::to_string(m_changes)); },
         [&] { expectThatItWorks(); });
    expectThatItEndsWithoutALeak();
}

TEST_P(Torture, End_LeaksNothing) {
    for (const int times : {1, 10, kAWhile}) {
        SCOPED_TRACE(times);
        ASSERT_EQ(m_recorder.subscribe(), 0);
        expectThatItWorks();
        failCalls(GetParam().call, GetParam().error, times);
        EventConsumerCBFini();
        waitForServiceToEnd();
        failCalls(GetParam().call, 0);
        EXPECT_EQ(resources(), m_before);
    }
}

TEST_P(Torture, Request_IsDelivered) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    expectThatItWorks();
    std::size_t before = 0;
    fail(
        [&] {
            before = m_recorder.callbacks();
            m_recorder.requestDelivery();
        },
        [&] { m_recorder.waitForCount(before + 1); });
    expectThatItEndsWithoutALeak();
}

INSTANTIATE_TEST_SUITE_P(Of, Torture, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

class TortureByAllocations : public TortureBase, public testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        TortureBase::SetUp();
        // Without memory to read the file, the callback records an empty text.
        m_recorder.setHook([this] { return m_recorder.texts().back().empty() ? -1 : 0; });
    }
};

TEST_P(TortureByAllocations, Subscription_FailsOrWorks) {
    bool failed = true;
    for (int skip = 0; failed; ++skip) {
        SCOPED_TRACE(skip);
        failAllocations(Threads::First, skip, GetParam());
        const int result = m_recorder.subscribe();
        failed = stopFailingAllocations();
        EXPECT_TRUE(failed || result == 0);
        if (result == 0) {
            expectThatItWorks();
        }
        expectThatItEndsWithoutALeak();
    }
}

TEST_P(TortureByAllocations, Delivery_TheNextChangeIsDelivered) {
    ASSERT_EQ(m_recorder.subscribe(), 0);
    const int step = GetParam() == 1 ? 1 : 9;
    bool failed = true;
    for (int skip = 0; failed; skip += step) {
        SCOPED_TRACE(skip);
        failAllocations(Threads::Others, skip, GetParam());
        change("while it fails " + std::to_string(skip));
        if (GetParam() == kAWhile) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            failed = stopFailingAllocations();
            expectThatItWorks();
        } else {
            expectThatItWorks();
            failed = stopFailingAllocations();
        }
    }
    expectThatItEndsWithoutALeak();
}

/// A program that calls closefrom(3) when neither descriptors nor memory are left.
TEST_P(TortureByAllocations, LostDescriptorsThatCannotBeReplaced_TheNextChangeIsDelivered) {
    const std::set<int> before = openDescriptors();
    subscribeAndSeeAChange();
    for (int skip = 0; skip < 4; ++skip) {
        SCOPED_TRACE(skip);
        while (openedSince(before).size() < kOwnDescriptors) {
            std::this_thread::yield();
        }
        int attempts = 0;
        {
            const HeldInPoll service;
            attempts = callCount(Call::Pipe);
            failCalls(Call::Pipe, EMFILE);
            const std::set<int> own = ownDescriptors(service, before);
            EXPECT_EQ(own.size(), kOwnDescriptors);
            failAllocations(Threads::Others, skip, GetParam());
            for (const int number : own) {
                ::close(number);
            }
        }
        while (callCount(Call::Pipe) < attempts + 3) {
            std::this_thread::yield();
        }
        stopFailingAllocations();
        failCalls(Call::Pipe, 0);
        expectThatItWorks();
    }
    expectThatItEndsWithoutALeak();
}

TEST_P(TortureByAllocations, RequestAndEnd_SucceedWithoutMemory) {
    for (const Threads threads : {Threads::First, Threads::Others}) {
        ASSERT_EQ(m_recorder.subscribe(), 0);
        const std::size_t before = m_recorder.callbacks();
        const EventConsumerCallback callback = m_recorder.record();
        failAllocations(threads, 0, GetParam());
        EventConsumerCBRedeliver(&callback);
        if (GetParam() == kAWhile) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            stopFailingAllocations();
        }
        m_recorder.waitForCount(before + 1);
        failAllocations(threads, 0, GetParam());
        EventConsumerCBFini();
        stopFailingAllocations();
        expectThatItEndsWithoutALeak();
    }
}

class NewHandler : public SubscribedProcess {
protected:
    static constexpr int kWithoutFailure = 1;
    static constexpr int kRefused = 2;

    /// Runs the handler at each allocation of a subscription, in a child. Returns its exit
    /// statuses.
    std::set<int> subscribeWith(std::new_handler handler, bool subscribedBefore) {
        std::set<int> statuses;
        int status = -1;
        for (int skip = 0; status != kWithoutFailure; ++skip) {
            status = inChild([&] {
                Recorder other(m_file);
                if (subscribedBefore && other.subscribe() != 0) {
                    return kRefused;
                }
                std::set_new_handler(handler);
                failAllocations(Threads::First, skip, 1);
                m_recorder.subscribe();
                return stopFailingAllocations() ? kRefused : kWithoutFailure;
            });
            statuses.insert(status);
        }
        return statuses;
    }
};

TEST_F(NewHandler, ExitsInASubscription_TheProcessEnds) {
    const std::new_handler exit = [] { std::exit(42); };
    for (const bool subscribedBefore : {false, true}) {
        const std::set<int> statuses = subscribeWith(exit, subscribedBefore);
        EXPECT_TRUE(statuses.contains(42));
        EXPECT_FALSE(statuses.contains(-1));
    }
}

/// Their calls have no effect if the subscription holds the service's mutex.
TEST_F(NewHandler, UsesTheServiceInASubscription_Returns) {
    const std::new_handler use = [] {
        stopFailingAllocations();
        const EventConsumerCallback callback{
            [](const auto&, const auto&, const auto&, void*) { return 0; }, nullptr};
        EventConsumerCBInit("SysConfigEvent", "", &callback);
        EventConsumerCBRedeliver(&callback);
        EventConsumerCBFini();
        ::_exit(42);
    };
    for (const bool subscribedBefore : {false, true}) {
        const std::set<int> statuses = subscribeWith(use, subscribedBefore);
        EXPECT_TRUE(statuses.contains(42));
        EXPECT_FALSE(statuses.contains(-1));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, TortureByAllocations, testing::Values(1, 10, kAWhile),
                         [](const auto& row) {
                             return row.param == kAWhile ? std::string("AWhile")
                                                         : std::to_string(row.param) + "InARow";
                         });

} // namespace
