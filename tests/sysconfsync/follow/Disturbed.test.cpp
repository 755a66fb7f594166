// SPDX-License-Identifier: Apache-2.0
// `sysconfsync follow` beside failures of etcd, and beside a service manager.

#include "Following.h"

#include "support/TestDirectory.h"

#include <algorithm>
#include <array>
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

TEST_F(Follow, EtcdAwayAgain_EachOutageAndRecoveryIsLogged) {
    publish(31001);
    support::RunningCommand follower = follow();
    waitForApplied(1);
    killAllMembers();
    follower.waitForErrors("sysconfsync: no etcd endpoint answers");
    m_etcd->restartAll(false);
    follower.waitForErrors("sysconfsync: etcd answers again");
    killAllMembers();
    follower.waitForErrors("sysconfsync: no etcd endpoint answers");
}

TEST_F(Follow, EtcdReplacedByAnEmptyOne_VersionStaysAndIsReportedAgain) {
    publish(31001);
    support::RunningCommand follower = follow();
    // It watches after it has written its status. After a call that took too long, it uses another
    // member. A watch of the test would count, too.
    m_etcd->waitForMetricOfAny("etcd_debugging_mvcc_watcher_total 1");
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

TEST_F(Follow, StatusThatIsDeleted_IsWrittenAgain) {
    publish(31001);
    const support::RunningCommand follower = follow();
    waitForApplied(1);
    m_client->transact({{}, {Delete{"/sysconf/status/node-2"}}, {}});
    publishAgain(1); // ends the pause of the follower
    waitForApplied(1);
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

/// The socket to which a service sends its notifications.
class ServiceManager {
public:
    ServiceManager() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(::bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    }
    ~ServiceManager() { ::close(m_socket); }
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    support::RunningCommand start(support::Command command) const {
        return command.variable("NOTIFY_SOCKET", m_path).start();
    }
    std::string next() const {
        std::array<char, 1000> buffer{};
        const ssize_t size = ::recv(m_socket, buffer.data(), buffer.size(), 0);
        return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }
    /// Returns the notifications before that one.
    std::string waitFor(const std::string& expected) const {
        std::string others;
        for (std::string text; (text = next()) != expected;) {
            others += text + '\n';
        }
        return others;
    }

private:
    const std::string m_path = support::testDirectory() / "notify";
    const int m_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

TEST_F(Follow, ServiceManager_IsNotifiedOfReadinessWorkAndEnd) {
    const ServiceManager manager;
    support::RunningCommand follower = manager.start(followCommand());
    EXPECT_THAT(manager.waitFor("WATCHDOG=1\nSTATUS=version 0 is applied"),
                Not(HasSubstr("READY=1")));
    publish(31001);
    manager.waitFor("READY=1\nWATCHDOG=1\nSTATUS=version 1 is applied");
    follower.signal(SIGTERM);
    manager.waitFor("STOPPING=1");
    EXPECT_EQ(follower.finish().exitStatus, 0);

    m_etcd->requireUsers("right");
    {
        const support::RunningCommand denied = manager.start(followCommand());
        manager.waitFor("READY=1\nWATCHDOG=1\nSTATUS=version 1 is applied, "
                        "etcd requires a user and a password");
    }
    killAllMembers();
    const support::RunningCommand again = manager.start(followCommand());
    manager.waitFor("READY=1\nWATCHDOG=1\nSTATUS=version 1 is applied, etcd does not answer");
}

TEST_F(Follow, MembersThatHang_ServiceIsReadyAndAlive) {
    publish(31001);
    EXPECT_EQ(once().exitStatus, 0);
    for (std::size_t i = 0; i < m_etcd->size(); ++i) {
        m_etcd->freeze(i);
    }
    const ServiceManager manager;
    const support::RunningCommand follower =
        manager.start(followCommand().variable("WATCHDOG_USEC", "300000"));
    EXPECT_EQ(manager.next(), "READY=1\nWATCHDOG=1\nSTATUS=version 1 is applied");
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
}

} // namespace
