// SPDX-License-Identifier: Apache-2.0
// `sysconfsync follow` beside failures of etcd, and beside a service manager.

#include "Following.h"

#include "support/TestDirectory.h"

#include <algorithm>
#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using ::testing::HasSubstr;
using namespace following;

TEST_F(Follow, FrozenMember_TheOthersDeliver) {
    publish(31001);
    support::RunningCommand follower = follow();
    waitForApplied(1);
    m_etcd->freeze(memberOfFollower());
    connect(memberOfFollower() + 1);
    publish(31002);
    waitForApplied(2);
    expectWhole(31002);
    m_etcd->thaw(memberOfFollower());
}

TEST_F(Follow, EtcdAway_LastVersionStaysAndTheNextOneArrives) {
    publish(31001);
    EXPECT_EQ(once().exitStatus, 0);
    killAllMembers();
    {
        support::RunningCommand follower = follow();
        follower.waitForErrors("no etcd endpoint answers");
        expectWhole(31001);
        follower.signal(SIGTERM);
        EXPECT_EQ(follower.finish().exitStatus, 0);
    }
    support::RunningCommand follower = follow();
    follower.waitForErrors("no etcd endpoint answers");
    m_etcd->restartAll(false);
    publish(31002);
    waitForApplied(2);
    expectWhole(31002);
}

TEST_F(Follow, EtcdReplacedByAnEmptyOne_VersionStaysAndIsReportedAgain) {
    connect(memberOfFollower() + 1);
    publish(31001);
    support::RunningCommand follower = follow();
    waitForApplied(1);
    // The status is written.
    m_etcd->waitForMetric(memberOfFollower(), "etcd_debugging_mvcc_watcher_total 1");
    killAllMembers();
    follower.waitForErrors("no etcd endpoint answers");
    m_etcd->restartAll(true);
    waitForApplied(1);
    EXPECT_FALSE(m_store->current().info);
    expectWhole(31001);
}

TEST_F(Follow, HistoryDeletedWhileAway_CurrentVersionIsApplied) {
    publish(31001);
    support::RunningCommand follower = follow();
    waitForApplied(1);
    follower.signal(SIGSTOP);
    publish(31002);
    publish(31003);
    compact();
    m_etcd->restartAll(false); // ends the connections of the follower
    follower.signal(SIGCONT);
    waitForApplied(3);
    expectWhole(31003);
}

TEST_F(Follow, StatusThatCannotBeWritten_IsWrittenLater) {
    publish(31001);
    setAlarm(true);
    support::RunningCommand follower = follow();
    follower.waitForErrors("the status cannot be written");
    expectWhole(31001);
    setAlarm(false);
    waitForApplied(1);
}

TEST_F(Follow, ServiceManager_IsNotifiedOfReadinessWorkAndEnd) {
    const std::string path = support::testDirectory() / "notify";
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    std::string received;
    const auto waitForMessage = [&](const std::string& text) {
        while (received.find(text) == std::string::npos) {
            char buffer[1000];
            received.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(
                                        ::recv(socket, buffer, sizeof(buffer), 0), 0)));
            received += '\n';
        }
    };
    support::RunningCommand follower = followCommand().variable("NOTIFY_SOCKET", path).start();
    waitForMessage("WATCHDOG=1\nSTATUS=version 0 is applied");
    EXPECT_THAT(received, Not(HasSubstr("READY=1")));
    publish(31001);
    waitForMessage("READY=1\nWATCHDOG=1\nSTATUS=version 1 is applied");
    follower.signal(SIGTERM);
    waitForMessage("STOPPING=1");
    EXPECT_EQ(follower.finish().exitStatus, 0);

    m_etcd->requireUsers("right");
    {
        const support::RunningCommand denied =
            followCommand().variable("NOTIFY_SOCKET", path).start();
        waitForMessage("STATUS=version 1 is applied, etcd requires a user and a password");
    }
    // Services that need the files start although etcd is away.
    killAllMembers();
    const support::RunningCommand again = followCommand().variable("NOTIFY_SOCKET", path).start();
    waitForMessage("READY=1\nWATCHDOG=1\nSTATUS=version 1 is applied, etcd does not answer");
    ::close(socket);
}

} // namespace
