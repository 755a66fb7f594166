// SPDX-License-Identifier: Apache-2.0
#include "Descriptor.h"

#include "WatchFaults.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/inotify.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

using eventcbutil::Descriptor;

int newInotify() {
    return ::inotify_init1(IN_CLOEXEC);
}

bool isOpen(int number) {
    return ::fcntl(number, F_GETFD) >= 0;
}

TEST(Descriptor, Destroyed_ClosesItsFile) {
    int number = -1;
    {
        const Descriptor descriptor(newInotify(), "inotify_init1");
        number = descriptor.get();
        EXPECT_TRUE(descriptor.intact());
    }
    EXPECT_FALSE(isOpen(number));
}

TEST(Descriptor, OfAFailedCall_Throws) {
    errno = EMFILE;
    EXPECT_THROW(Descriptor(-1, "inotify_init1"), std::system_error);
}

TEST(Descriptor, ClosedByTheProgram_IsNotIntact) {
    const Descriptor descriptor(newInotify(), "inotify_init1");
    ::close(descriptor.get());
    EXPECT_FALSE(descriptor.intact());
}

/// Also if the program's file has the same inode.
TEST(Descriptor, NumberReusedByTheProgram_IsNotIntactAndRemainsOpen) {
    int number = -1;
    {
        const Descriptor descriptor(newInotify(), "inotify_init1");
        number = descriptor.get();
        ::close(number);
        ASSERT_EQ(newInotify(), number);
        EXPECT_FALSE(descriptor.intact());
    }
    EXPECT_TRUE(isOpen(number));
    ::close(number);
}

TEST(Descriptor, NumberReusedByAnotherOne_OnlyThatOneIsIntact) {
    Descriptor first(newInotify(), "inotify_init1");
    ::close(first.get());
    Descriptor second(newInotify(), "inotify_init1");
    ASSERT_EQ(first.get(), second.get());
    EXPECT_FALSE(first.intact());
    first.close();
    EXPECT_TRUE(second.intact());
}

TEST(Descriptor, OfAStandardStream_IsMovedAboveThem) {
    const int saved = ::fcntl(0, F_DUPFD, 100);
    ::close(0);
    const Descriptor descriptor(newInotify(), "inotify_init1");
    EXPECT_GE(descriptor.get(), 3);
    EXPECT_TRUE(descriptor.intact());
    EXPECT_NE(::fcntl(descriptor.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_FALSE(isOpen(0));
    ::dup2(saved, 0);
}

#ifndef SANITIZED
TEST(Descriptor, OfAStandardStreamThatCannotBeMoved_ThrowsAndIsClosed) {
    ::close(0);
    ASSERT_EQ(newInotify(), 0);
    failCalls(Call::Fcntl, EMFILE, 1);
    EXPECT_THROW(Descriptor(0, "inotify_init1"), std::system_error);
    EXPECT_FALSE(isOpen(0));
}
#endif

TEST(Descriptor, Inherited_IsClosedAndItsOwnerClosesNoOther) {
    Descriptor inherited(newInotify(), "inotify_init1");
    const int number = inherited.get();
    Descriptor::closeInherited();
    EXPECT_FALSE(isOpen(number));
    EXPECT_EQ(inherited.get(), -1);
    const Descriptor own(newInotify(), "inotify_init1");
    ASSERT_EQ(own.get(), number);
    inherited.close();
    EXPECT_TRUE(own.intact());
}

TEST(Descriptor, InheritedWithANumberReusedByTheProgram_RemainsOpen) {
    const Descriptor inherited(newInotify(), "inotify_init1");
    const int number = inherited.get();
    ::close(number);
    ASSERT_EQ(newInotify(), number);
    Descriptor::closeInherited();
    EXPECT_TRUE(isOpen(number));
    ::close(number);
}

TEST(Descriptor, Moved_HasOneOwner) {
    Descriptor first(newInotify(), "inotify_init1");
    const int number = first.get();
    Descriptor second;
    second = std::move(first);
    EXPECT_TRUE(second.intact());
    EXPECT_EQ(second.get(), number);
    second = Descriptor();
    EXPECT_FALSE(isOpen(number));
}

} // namespace
