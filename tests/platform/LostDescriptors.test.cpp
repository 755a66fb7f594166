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

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <set>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using support::writeFile;

/// Closes with a plain system call, because the thread sanitizer would report the intended race.
template <typename Numbers>
void closeEach(const Numbers& numbers) {
    for (const int number : numbers) {
        ::syscall(SYS_close, number);
    }
}

class LostDescriptors : public SubscribedProcess {
protected:
    std::set<int> m_others;

    void SetUp() override {
        SubscribedProcess::SetUp();
        m_others = openDescriptors();
    }

    std::vector<int> own(const HeldInPoll& service) const {
        const std::set<int> numbers = ownDescriptors(service, m_others);
        EXPECT_EQ(numbers.size(), kOwnDescriptors);
        return {numbers.begin(), numbers.end()};
    }
};

TEST_F(LostDescriptors, All_ChangesAreDelivered) {
    subscribeAndSeeAChange();
    {
        const HeldInPoll service;
        closeEach(own(service));
    }
    seeAChange("one");
    seeAChange("two");
    endService();
}

TEST_F(LostDescriptors, AnyOne_ChangesAreDelivered) {
    const Resources before = resources();
    for (std::size_t i = 0; i < kOwnDescriptors; ++i) {
        const std::string round = std::to_string(i);
        Recorder recorder(m_file);
        ASSERT_EQ(recorder.subscribe(), 0);
        {
            const HeldInPoll service;
            closeEach(std::array{own(service).at(i)});
        }
        for (const std::string& text : {"one" + round, "two" + round}) {
            writeFile(m_file, text);
            recorder.waitForText(text);
        }
        endService();
        EXPECT_EQ(resources(), before);
    }
}

TEST_F(LostDescriptors, ClosedInTheCallback_ChangesAreDelivered) {
    std::set<int> numbers;
    m_recorder.setHook([&] {
        closeEach(numbers);
        numbers.clear();
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    numbers = openedSince(m_others);
    seeAChange("one");
    seeAChange("two");
    seeAChange("three");
    endService();
}

/// A file, a pipe and an inotify instance with something to read, the write end of the pipe.
class NumbersReused : public LostDescriptors {
protected:
    std::vector<int> m_numbers;
    std::vector<struct stat> m_files;
    std::string m_text = "the program's";

    void SetUp() override {
        LostDescriptors::SetUp();
        subscribeAndSeeAChange();
        const HeldInPoll service;
        m_numbers = own(service);
        ASSERT_EQ(m_numbers.size(), kOwnDescriptors);
        const std::string folder = support::testDirectory() / "program";
        writeFile(folder + "/file", m_text);
        std::vector<int> opened{::open((folder + "/file").c_str(), O_RDWR | O_CLOEXEC), 0,
                                ::inotify_init1(IN_CLOEXEC), 0};
        int ends[2] = {-1, -1};
        ASSERT_EQ(::pipe(ends), 0);
        ASSERT_EQ(::write(ends[1], "12345678", 8), 8);
        opened[1] = ends[0];
        opened[3] = ends[1];
        ASSERT_GE(::inotify_add_watch(opened[2], folder.c_str(), IN_CREATE), 0);
        writeFile(folder + "/created", "");
        for (std::size_t i = 0; i < kOwnDescriptors; ++i) {
            ASSERT_EQ(::dup2(opened[i], m_numbers[i]), m_numbers[i]);
            ::close(opened[i]);
            struct stat status {};
            ASSERT_EQ(::fstat(m_numbers[i], &status), 0);
            m_files.push_back(status);
        }
    }

    void expectUntouched() {
        for (std::size_t i = 0; i < kOwnDescriptors; ++i) {
            struct stat status {};
            EXPECT_EQ(::fstat(m_numbers[i], &status), 0) << i;
            EXPECT_EQ(status.st_ino, m_files[i].st_ino) << i;
        }
        EXPECT_EQ(::lseek(m_numbers[0], 0, SEEK_CUR), 0);
        EXPECT_EQ(textOf(support::testDirectory() / "program/file"), m_text);
        int waiting = 0;
        EXPECT_EQ(::ioctl(m_numbers[1], FIONREAD, &waiting), 0);
        EXPECT_EQ(waiting, 8);
        EXPECT_EQ(::ioctl(m_numbers[2], FIONREAD, &waiting), 0);
        EXPECT_GT(waiting, 0);
        const std::string info = textOf("/proc/self/fdinfo/" + std::to_string(m_numbers[2]));
        EXPECT_NE(info.find("inotify wd:1 "), std::string::npos) << info;
        EXPECT_EQ(info.find("inotify wd:2 "), std::string::npos) << info;
    }
};

TEST_F(NumbersReused, Changes_AreDeliveredAndLeaveTheProgramsFilesUntouched) {
    for (int i = 0; i < 10; ++i) {
        seeAChange("after " + std::to_string(i));
    }
    expectUntouched();
    endService();
    expectUntouched();
}

TEST_F(NumbersReused, EndOfTheSubscriptions_LeavesTheProgramsFilesUntouched) {
    EventConsumerCBFini();
    waitForServiceToEnd();
    expectUntouched();
}

TEST_F(NumbersReused, RequestOfADelivery_IsDelivered) {
    const std::size_t before = m_recorder.callbacks();
    m_recorder.requestDelivery();
    m_recorder.waitForCount(before + 1);
    expectUntouched();
    endService();
}

#ifndef SANITIZED
TEST_F(NumbersReused, ForkedChild_LeavesTheProgramsFilesUntouched) {
    EXPECT_EQ(inChild([&] {
                  EventConsumerCBFini();
                  expectUntouched();
                  return HasFailure() ? 1 : 0;
              }),
              0);
    expectUntouched();
    endService();
}
#endif

TEST_F(LostDescriptors, NoDescriptorsForAWhile_PausesAndRecovers) {
    for (const Call refused : {Call::Pipe, Call::InotifyInit}) {
        subscribeAndSeeAChange();
        {
            const HeldInPoll service;
            failCalls(refused, EMFILE);
            closeEach(own(service));
        }
        const int attemptsBefore = callCount(refused);
        const int waitsBefore = callCount(Call::Poll);
        while (callCount(refused) < attemptsBefore + 3) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        // Two in each round, which takes at least 100 ms.
        EXPECT_LE(callCount(Call::Poll) - waitsBefore, 100);
        failCalls(refused, 0);
        seeAChange("again " + std::to_string(static_cast<int>(refused)));
        endService();
    }
}

} // namespace
