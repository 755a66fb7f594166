// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderStatus.h"
#include "support/EventLibrary.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using Status = Quarncommon::SysConfReaderStatus;

bool readable(int descriptor) {
    pollfd polled{descriptor, POLLIN, 0};
    return ::poll(&polled, 1, 0) == 1 && polled.revents == POLLIN;
}

unsigned long long notifications(int descriptor) {
    unsigned long long number = 0;
    return ::read(descriptor, &number, sizeof number) == sizeof number ? number : 0;
}

class ChangeDescriptor : public testing::Test {
protected:
    ChangeDescriptor() {
        support::installEventLibrary("recording");
        writeGeneration(m_files, 1);
        SysConfReader::Instance();
        m_descriptor = Status::openDescriptor();
    }
    ~ChangeDescriptor() override { Status::closeDescriptor(m_descriptor); }

    static void reload() { SysConfReader::Instance()->Reload(); }

    support::Deployment m_files;
    int m_descriptor = -1;
};

TEST_F(ChangeDescriptor, AfterLoads_IsReadableUntilItIsRead) {
    ASSERT_GE(m_descriptor, 3);
    EXPECT_FALSE(readable(m_descriptor));
    reload();
    EXPECT_TRUE(readable(m_descriptor));
    support::deliver();
    EXPECT_EQ(notifications(m_descriptor), 2U);
    EXPECT_FALSE(readable(m_descriptor));
    EXPECT_EQ(notifications(m_descriptor), 0U) << "reading does not block";
}

TEST_F(ChangeDescriptor, OnceReadable_TheLoadIsVisible) {
    writeGeneration(m_files, 2);
    const auto before = Status::generation();
    reload();
    ASSERT_TRUE(readable(m_descriptor));
    EXPECT_EQ(Status::generation(), before + 1);
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4002);
}

TEST_F(ChangeDescriptor, LoadsWithinACallback_AreNotified) {
    const auto id = Status::subscribe([](unsigned long long, void*) { reload(); }, nullptr);
    reload();
    EXPECT_EQ(notifications(m_descriptor), 2U);
    support::deliver();
    EXPECT_EQ(notifications(m_descriptor), 2U) << "that of the event, that of the callback";
    Status::unsubscribe(id);
}

TEST_F(ChangeDescriptor, UnderTheNumberOfOneThatTheProgramClosed_IsNotifiedOnce) {
    const int number = Status::openDescriptor();
    ::close(number);
    ::close(m_descriptor);
    ASSERT_EQ(::open("/dev/null", O_RDONLY | O_CLOEXEC), m_descriptor);
    // More often than there are different marks.
    for (int opened = 0; opened < 40; ++opened) {
        ASSERT_EQ(Status::openDescriptor(), number);
        reload();
        EXPECT_EQ(notifications(number), 1U) << opened;
        ::close(number);
    }
}

TEST_F(ChangeDescriptor, Several_AreNotifiedEach) {
    const int other = Status::openDescriptor();
    EXPECT_NE(other, m_descriptor);
    reload();
    EXPECT_EQ(notifications(m_descriptor), 1U);
    EXPECT_EQ(notifications(other), 1U);
    Status::closeDescriptor(other);
    reload();
    EXPECT_EQ(notifications(m_descriptor), 1U);
    EXPECT_EQ(::fcntl(other, F_GETFD), -1);
}

TEST_F(ChangeDescriptor, Flags_AreCloseOnExecAndNonBlocking) {
    EXPECT_EQ(::fcntl(m_descriptor, F_GETFD), FD_CLOEXEC);
    EXPECT_NE(::fcntl(m_descriptor, F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(ChangeDescriptor, WhileStandardStreamsAreClosed_LeavesTheirNumbersFree) {
    const int kept = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    const int opened = Status::openDescriptor();
    EXPECT_GE(opened, 3);
    EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), -1);
    EXPECT_EQ(::fcntl(opened, F_GETFD), FD_CLOEXEC);
    ::dup2(kept, STDIN_FILENO);
    ::close(kept);
    Status::closeDescriptor(opened);
}

TEST_F(ChangeDescriptor, ClosedByTheProgram_LeavesTheNextFileUnderItsNumberAlone) {
    ::close(m_descriptor);
    const std::string path = support::testDirectory() / "of-the-program";
    const int opened = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(opened, m_descriptor);
    reload();
    Status::closeDescriptor(m_descriptor);
    EXPECT_EQ(::lseek(opened, 0, SEEK_END), 0) << "nothing is written";
    EXPECT_EQ(::close(opened), 0) << "it is not closed";
}

TEST_F(ChangeDescriptor, ClosedByTheProgram_LeavesItsNextEventUnderTheNumberAlone) {
    ::close(m_descriptor);
    // Of the same inode.
    const int opened = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    ASSERT_EQ(opened, m_descriptor);
    reload();
    EXPECT_FALSE(readable(opened));
    Status::closeDescriptor(m_descriptor);
    EXPECT_EQ(::close(opened), 0) << "it is not closed";
}

TEST_F(ChangeDescriptor, ClosedAndOpenedAgainUnderItsNumber_IsNotifiedAsTheNewOne) {
    ::close(m_descriptor);
    const int again = Status::openDescriptor();
    ASSERT_EQ(again, m_descriptor);
    reload();
    EXPECT_EQ(notifications(again), 1U);
    Status::closeDescriptor(again);
    EXPECT_EQ(::fcntl(again, F_GETFD), -1);
}

TEST_F(ChangeDescriptor, OfTheProgram_IsNotClosed) {
    const int own = ::dup(STDERR_FILENO);
    Status::closeDescriptor(own);
    Status::closeDescriptor(-1);
    EXPECT_EQ(::close(own), 0);
}

TEST_F(ChangeDescriptor, OnACancelledThread_IsNotifiedAndClosed) {
    bool notified = false;
    bool closed = false;
    std::thread([&] {
        ::pthread_cancel(::pthread_self());
        reload();
        notified = true;
        Status::closeDescriptor(m_descriptor);
        closed = true;
    }).join();
    EXPECT_TRUE(notified);
    EXPECT_TRUE(closed);
    EXPECT_EQ(::fcntl(m_descriptor, F_GETFD), -1);
}

TEST_F(ChangeDescriptor, MoreThan64_AreRefusedUntilOneIsClosed) {
    std::vector<int> opened;
    for (int i = 1; i < 64; ++i) {
        opened.push_back(Status::openDescriptor());
        EXPECT_GE(opened.back(), 3);
    }
    errno = 0;
    EXPECT_EQ(Status::openDescriptor(), -1);
    EXPECT_EQ(errno, EMFILE);
    for (const int descriptor : opened) {
        Status::closeDescriptor(descriptor);
    }
    const int again = Status::openDescriptor();
    EXPECT_GE(again, 3);
    Status::closeDescriptor(again);
}

TEST_F(ChangeDescriptor, WithoutDescriptorsLeft_IsRefusedWithTheReason) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none{0, limit.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    errno = 0;
    EXPECT_EQ(Status::openDescriptor(), -1);
    EXPECT_EQ(errno, EMFILE);
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace
