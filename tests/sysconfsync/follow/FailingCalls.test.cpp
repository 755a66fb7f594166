// SPDX-License-Identifier: Apache-2.0
// `sysconfsync follow` whose system calls fail or end it, and whose wall clock jumps. Not under
// sanitizers, which work neither under strace nor with another preloaded library.

#include "Following.h"

#include "support/TestDirectory.h"

#include <csignal>
#include <fstream>
#include <iterator>

namespace {

using ::testing::HasSubstr;
using namespace following;
namespace fs = std::filesystem;

/// The system calls by which a follower reads from etcd and changes its folder.
class FailingCall : public Follow, public testing::WithParamInterface<const char*> {
protected:
    const fs::path m_saved = support::testDirectory() / "saved";

    void SetUp() override {
        Follow::SetUp();
        if (IsSkipped()) {
            return;
        }
        // From the second version on, an older one is removed.
        for (const int port : {31000, 31001}) {
            publish(port);
            ASSERT_EQ(once().exitStatus, 0);
        }
        fs::copy(m_folder, m_saved, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        publish(31002);
    }

    /// Follows version 3 once, from version 2, with a failure at the n-th call of that kind.
    /// Returns whether there was an n-th call.
    bool followOnce(const std::string& failure, int n) {
        fs::remove_all(m_folder);
        fs::copy(m_saved, m_folder, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        const std::string inject =
            "inject=" + std::string(GetParam()) + ':' + failure + ":when=" + std::to_string(n);
        std::vector<std::string> arguments = {"-f", "-o",   support::testDirectory() / "trace",
                                              "-e", inject, SYSCONFSYNC};
        const std::vector<std::string> follow = followArguments({"--once"});
        arguments.insert(arguments.end(), follow.begin(), follow.end());
        m_result = support::Command("/usr/bin/strace", arguments).run();
        std::ifstream trace(support::testDirectory() / "trace");
        const std::string text(std::istreambuf_iterator<char>(trace), {});
        return text.find("(INJECTED)") != std::string::npos ||
               text.find("+++ killed by SIGKILL") != std::string::npos;
    }

    void expectOneWholeVersion() const { expectWhole(appliedVersion() == 2 ? 31001 : 31002); }

    void expectRecovery() {
        EXPECT_EQ(once().exitStatus, 0);
        expectWhole(31002);
        const NodeStatus after = status();
        EXPECT_EQ(after.version, 3);
        EXPECT_FALSE(after.refused);
    }

    support::CommandResult m_result;
};

TEST_P(FailingCall, KilledAtAnyCall_NextRunHasTheWholeVersion) {
    int n = 1;
    for (; followOnce("signal=KILL", n); ++n) {
        SCOPED_TRACE(n);
        expectOneWholeVersion();
        expectRecovery();
    }
    EXPECT_GT(n, 1) << m_result.errors;
}

INSTANTIATE_TEST_SUITE_P(Disturbed, FailingCall,
                         testing::Values("connect", "sendto", "mkdir", "write", "fsync", "rename",
                                         "symlink", "unlinkat"),
                         [](const auto& call) { return std::string(call.param); });

class FullDisk : public FailingCall {};

TEST_P(FullDisk, AnyCallFails_VersionIsReportedAndAppliedLater) {
    int n = 1;
    int refusals = 0;
    for (; followOnce("error=ENOSPC", n); ++n) {
        SCOPED_TRACE(n);
        expectOneWholeVersion();
        if (m_result.exitStatus == 1) {
            ++refusals;
            const Refusal refusal = waitForRefusal(3);
            EXPECT_EQ(refusal.findings[0]["name"], "file-system");
            EXPECT_THAT(refusal.findings[0]["text"].asString(),
                        HasSubstr("No space left on device"));
        }
        expectRecovery();
    }
    EXPECT_GT(refusals, 0) << m_result.errors;
}

INSTANTIATE_TEST_SUITE_P(Disturbed, FullDisk,
                         testing::Values("mkdir", "write", "fsync", "rename", "symlink"),
                         [](const auto& call) { return std::string(call.param); });

TEST_F(Follow, DiskFullForAWhile_IsRetriedWithoutANewVersion) {
    publish(31001);
    // -D: the follower is the child instead of strace, so that the end of the test ends it.
    std::vector<std::string> arguments = {"-D",
                                          "-o",
                                          support::testDirectory() / "trace",
                                          "-e",
                                          "inject=fsync:error=ENOSPC:when=1..3",
                                          SYSCONFSYNC};
    const std::vector<std::string> follow = followArguments({});
    arguments.insert(arguments.end(), follow.begin(), follow.end());
    support::RunningCommand follower = support::Command("/usr/bin/strace", arguments).start();
    follower.waitForErrors("version 1 is refused");
    waitForApplied(1);
    EXPECT_FALSE(status().refused);
    expectWhole(31001);
}

TEST(FollowWithoutNames, ResolverThatHangs_DelaysNeitherTheTimeLimitNorTheEnd) {
    support::RunningCommand follower =
        support::Command(SYSCONFSYNC,
                         {"follow", "node-2", "--endpoints", "http://etcd.example:2379", "--folder",
                          support::testDirectory() / "node", "--call-timeout", "1"})
            .variable("LD_PRELOAD", SYSCONF_HANGING_RESOLVER)
            .start();
    follower.waitForErrors("no answer within 1000 ms");
    follower.signal(SIGTERM);
    EXPECT_EQ(follower.finish().exitStatus, 0);
}

TEST_F(Follow, WallClockThatJumps_ChangesNoDecision) {
    publish(31001);
    support::Command command = followCommand({});
    command.variable("LD_PRELOAD", SYSCONF_JUMPING_CLOCK);
    support::RunningCommand follower = command.start();
    waitForApplied(1);
    publish(31002);
    waitForApplied(2);
    expectWhole(31002);
    follower.signal(SIGTERM);
    EXPECT_EQ(follower.finish().exitStatus, 0);
}

} // namespace
