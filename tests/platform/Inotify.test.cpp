// SPDX-License-Identifier: Apache-2.0
#include "Inotify.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

TEST(Inotify, NumberReusedByTheProgram_ItsInstanceGetsNoWatch) {
    eventcbutil::Inotify inotify;
    const std::string folder = support::testDirectory().string();
    ASSERT_GE(inotify.watch(folder, IN_CREATE), 0);
    ::close(inotify.descriptor());
    const int ofTheProgram = ::inotify_init1(IN_CLOEXEC);
    ASSERT_EQ(ofTheProgram, inotify.descriptor());
    EXPECT_EQ(inotify.watch(folder, IN_CREATE), -EBADF);
    support::writeFile(support::testDirectory() / "new", "text");
    pollfd wait{ofTheProgram, POLLIN, 0};
    EXPECT_EQ(::poll(&wait, 1, 0), 0);
}

} // namespace
