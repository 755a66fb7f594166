// SPDX-License-Identifier: Apache-2.0
#include "support/Command.h"
#include "sysconfsync/Sync.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

TEST(InterruptedPublish, WhileTheFileSystemHangs_EndsByTheSignal) {
    const auto tree = support::copySample("ha-pair", "tree");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        support::RunningCommand running =
            support::Command(SYSCONFSYNC, {"publish", tree, "--endpoints", "http://127.0.0.1:1"})
                .variable("LD_PRELOAD", SYSCONF_HANGING_FOLDERS)
                .start();
        running.waitForErrors("hangs\n");
        running.signal(signal);
        EXPECT_EQ(running.finish().signal, signal);
    }
}

} // namespace
