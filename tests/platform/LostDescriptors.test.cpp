// SPDX-License-Identifier: Apache-2.0
// A program that closes the service's descriptors, as closefrom(3) does, and uses their numbers.

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

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <map>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using support::writeFile;

/// How many descriptors a subscription has in all.
constexpr std::size_t kDescriptors = 4;

/// The thread sanitizer would report the close, which races with the service on purpose.
void closeUnnoticed(int number) {
    ::syscall(SYS_close, number);
}

class LostDescriptors : public SubscribedProcess {
protected:
    std::vector<int> subscribeAndFindDescriptors() {
        const std::set<int> before = openDescriptors();
        subscribeAndSeeAChange();
        std::set<int> own = openedSince(before);
        // A comparison has another one for a moment.
        while (own.size() > kDescriptors) {
            own = openedSince(before);
        }
        EXPECT_EQ(own.size(), kDescriptors);
        return {own.begin(), own.end()};
    }

    void seeAChange(const std::string& text) {
        writeFile(m_file, text);
        m_recorder.waitForText(text);
    }
};

TEST_F(LostDescriptors, All_ChangesAreDelivered) {
    for (const int number : subscribeAndFindDescriptors()) {
        closeUnnoticed(number);
    }
    seeAChange("one");
    seeAChange("two");
    endService();
}

TEST_F(LostDescriptors, AnyOne_ChangesAreDelivered) {
    const Resources before = resources();
    for (std::size_t i = 0; i < kDescriptors; ++i) {
        const std::string round = std::to_string(i);
        Recorder recorder(m_file);
        const std::set<int> others = openDescriptors();
        ASSERT_EQ(recorder.subscribe(), 0);
        const std::set<int> own = openedSince(others);
        ASSERT_EQ(own.size(), kDescriptors);
        closeUnnoticed(*std::next(own.begin(), static_cast<std::ptrdiff_t>(i)));
        for (const std::string& text : {"one" + round, "two" + round}) {
            writeFile(m_file, text);
            recorder.waitForText(text);
        }
        endService();
        EXPECT_EQ(resources(), before);
    }
}

TEST_F(LostDescriptors, WithinTheCallback_ChangesAreDelivered) {
    std::vector<int> own;
    m_recorder.setHook([&] {
        for (const int number : own) {
            closeUnnoticed(number);
        }
        own.clear();
        return 0;
    });
    const std::set<int> before = openDescriptors();
    ASSERT_EQ(m_recorder.subscribe(), 0);
    const std::set<int> opened = openedSince(before);
    own.assign(opened.begin(), opened.end());
    seeAChange("one");
    seeAChange("two");
    seeAChange("three");
    endService();
}

/// What the program opens under the numbers: a file, a pipe with bytes to read, an inotify instance
/// with a notice to read, and the write end of the pipe.
class NumbersReused : public LostDescriptors {
protected:
    std::vector<int> m_numbers;
    std::vector<struct stat> m_files;
    std::string m_text = "the program's";

    void SetUp() override {
        LostDescriptors::SetUp();
        m_numbers = subscribeAndFindDescriptors();
        ASSERT_EQ(m_numbers.size(), kDescriptors);
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
        for (std::size_t i = 0; i < kDescriptors; ++i) {
            ASSERT_EQ(::dup2(opened[i], m_numbers[i]), m_numbers[i]);
            ::close(opened[i]);
            struct stat status {};
            ASSERT_EQ(::fstat(m_numbers[i], &status), 0);
            m_files.push_back(status);
        }
    }

    void expectUntouched() {
        for (std::size_t i = 0; i < kDescriptors; ++i) {
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

TEST_F(NumbersReused, Changes_AreDeliveredAndTheProgramsFilesUntouched) {
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
    const std::size_t before = m_recorder.count();
    const EventConsumerCallback callback = m_recorder.record();
    EventConsumerCBRedeliver(&callback);
    m_recorder.waitForCount(before + 1);
    expectUntouched();
    endService();
}

#ifndef SANITIZED
TEST_F(NumbersReused, ForkedChild_LeavesTheProgramsFilesUntouched) {
    const pid_t child = ::fork();
    if (child == 0) {
        EventConsumerCBFini();
        expectUntouched();
        ::_exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    expectUntouched();
    endService();
}
#endif

TEST_F(LostDescriptors, WhileThereAreNoNewOnes_PausesAndRecoversAfterwards) {
    for (const Call refused : {Call::Pipe, Call::InotifyInit}) {
        const std::vector<int> own = subscribeAndFindDescriptors();
        failCalls(refused, EMFILE);
        for (const int number : own) {
            closeUnnoticed(number);
        }
        const auto attempts = [&] { return callCount(refused); };
        const int attemptsBefore = attempts();
        const int waitsBefore = callCount(Call::Poll);
        while (attempts() < attemptsBefore + 3) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        // One to wait and one to look at the mounts a round, and a tenth of a second each.
        EXPECT_LE(callCount(Call::Poll) - waitsBefore, 100);
        failCalls(refused, 0);
        seeAChange("again " + std::to_string(static_cast<int>(refused)));
        endService();
    }
}

} // namespace
