// SPDX-License-Identifier: Apache-2.0
#include "etcd/Client.h"

#include "store/Store.h"
#include "sysconfsync/Etcd.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <array>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace support;
using namespace sysconfsync;
using testing::ElementsAre;

using SyncClient = EtcdTest;
using SyncStore = EtcdTest;

struct Signal {
    Signal() { EXPECT_EQ(::pipe(ends.data()), 0); }
    ~Signal() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    void raise() const { EXPECT_EQ(::write(ends[1], "x", 1), 1); }
    std::array<int, 2> ends{};
};

void put(Client& client, const std::string& key, const std::string& value) {
    client.transact({{}, {Put{key, value}}, {}});
}

TEST_F(SyncClient, TokenThatIsNoLongerValid_IsRenewed) {
    const Etcd etcd;
    etcd.requireUsers("right");
    Connection connection = etcd.connection();
    connection.user = "root";
    connection.password = "right";
    Client client(connection);
    const auto invalidateTokens = [&] {
        etcd.control({"--user", "root:right", "auth", "disable"});
        etcd.control({"auth", "enable"});
    };
    put(client, "a", "1");
    invalidateTokens();
    EXPECT_EQ(client.range({"a"}).keys.front().value, "1");
    invalidateTokens();
    const WatchEnd end = client.watch({.key = "a"}, [](const auto& /*events*/) { return false; });
    EXPECT_EQ(end, WatchEnd::Stopped);
}

TEST_F(SyncClient, WatchAtAMemberThatIsKilled_ContinuesAtAnotherWithoutLossOrRepetition) {
    Etcd etcd({.members = 3});
    const std::size_t watched = (etcd.leader() + 1) % etcd.size();
    Client writer(etcd.connection(etcd.leader()));
    Client watcher(etcd.connection(watched));
    put(writer, "a", "0");
    std::vector<std::string> seen;
    const WatchEnd end = watcher.watch({.key = "a"}, [&](const std::vector<WatchEvent>& events) {
        for (const WatchEvent& event : events) {
            seen.push_back(event.key.value);
        }
        if (seen.size() == 1) {
            etcd.kill(watched);
        }
        if (seen.size() < 4) {
            put(writer, "a", std::to_string(seen.size()));
        }
        return seen.size() < 4;
    });
    EXPECT_EQ(end, WatchEnd::Stopped);
    EXPECT_THAT(seen, ElementsAre("0", "1", "2", "3"));
}

TEST_F(SyncClient, WatchAtAMemberThatFreezes_ContinuesAtAnother) {
    Etcd etcd({.members = 3});
    const std::size_t watched = (etcd.leader() + 1) % etcd.size();
    Client writer(etcd.connection(etcd.leader()));
    Connection connection = etcd.connection(watched);
    connection.callLimit = std::chrono::milliseconds(500);
    Client watcher(connection);
    put(writer, "a", "0");
    std::string last;
    watcher.watch({.key = "a"}, [&](const std::vector<WatchEvent>& events) {
        last = events.back().key.value;
        if (last == "0") {
            etcd.freeze(watched);
            put(writer, "a", "1");
        }
        return last != "1";
    });
    EXPECT_EQ(last, "1");
}

TEST_F(SyncClient, WatchAtAMemberThatLosesItsLeader_FailsInsteadOfWaiting) {
    Etcd etcd({.members = 3});
    Connection connection = etcd.connection();
    connection.callLimit = std::chrono::minutes(5); // longer than the test may take
    Client client(connection);
    put(client, "a", "0");
    try {
        client.watch({.key = "a"}, [&](const std::vector<WatchEvent>& /*events*/) {
            etcd.kill(1);
            etcd.kill(2);
            return true;
        });
        FAIL() << "no exception";
    } catch (const EtcdError& error) {
        EXPECT_EQ(error.reason, Failure::Unreachable) << error.what();
    }
}

TEST_F(SyncClient, Watch_EndsAtItsDeadlineAndByItsDescriptors) {
    const Etcd etcd;
    const Signal stop;
    const Signal wake;
    Connection connection = etcd.connection();
    connection.stopDescriptor = stop.ends[0];
    Client client(connection);
    const auto never = [](const std::vector<WatchEvent>& /*events*/) { return true; };
    EXPECT_EQ(client.watch({.key = "a", .deadline = Clock::now()}, never), WatchEnd::Expired);
    wake.raise();
    EXPECT_EQ(client.watch({.key = "a", .wakeDescriptor = wake.ends[0]}, never), WatchEnd::Woken);
    stop.raise();
    EXPECT_THROW(client.watch({.key = "a"}, never), Cancelled);
    EXPECT_THROW(client.range({"a"}), Cancelled);
}

/// A member that sends the beginning of a message and ends.
class DyingMember {
public:
    DyingMember() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto* const general = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(::bind(m_socket, general, size), 0);
        EXPECT_EQ(::listen(m_socket, 1), 0);
        EXPECT_EQ(::getsockname(m_socket, general, &size), 0);
        endpoint = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
        m_thread = std::thread([this] { answer(); });
    }
    ~DyingMember() { m_thread.join(); }
    DyingMember(const DyingMember&) = delete;
    DyingMember& operator=(const DyingMember&) = delete;

    std::string endpoint;

private:
    void answer() const {
        const int connection = ::accept(m_socket, nullptr, nullptr);
        ::close(m_socket);
        std::array<char, 4096> request{};
        EXPECT_GT(::read(connection, request.data(), request.size()), 0);
        const std::string text = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                 "b\r\n{\"result\":{\r\n";
        EXPECT_EQ(::write(connection, text.data(), text.size()), ssize_t(text.size()));
        ::shutdown(connection, SHUT_WR);
        while (::read(connection, request.data(), request.size()) > 0) {
        }
        ::close(connection);
    }

    int m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::thread m_thread;
};

TEST_F(SyncClient, WatchMessageThatIsCutOff_ContinuesAtAnotherMember) {
    const Etcd etcd;
    const DyingMember dying;
    Connection connection = etcd.connection();
    Client writer(connection);
    put(writer, "a", "1");
    connection.endpoints.insert(connection.endpoints.begin(), dying.endpoint);
    std::string seen;
    Client(connection)
        .watch({.key = "a", .startRevision = 1}, [&](const std::vector<WatchEvent>& events) {
            seen = events.back().key.value;
            return false;
        });
    EXPECT_EQ(seen, "1");
}

TEST_F(SyncClient, WatchOfDeletedHistory_NamesTheOldestRevision) {
    const Etcd etcd;
    Client client(etcd.connection());
    put(client, "a", "0");
    put(client, "a", "1");
    etcd.control({"compact", "3"});
    try {
        client.watch({.key = "a", .startRevision = 2}, [](const auto& /*events*/) { return true; });
        FAIL() << "no exception";
    } catch (const EtcdError& error) {
        EXPECT_EQ(error.reason, Failure::Compacted);
        EXPECT_EQ(error.compactRevision, 3);
    }
}

TEST_F(SyncStore, WatchOfDeletedHistory_ReportsTheCurrentVersion) {
    const Etcd etcd;
    Client client(etcd.connection());
    Store store(client, "/p/");
    const std::int64_t from = store.current().revision + 1;
    for (int version = 1; version <= 3; ++version) {
        const Info info{.version = version, .id = std::to_string(version)};
        store.publish(store.publication({}, info, store.current()), info);
    }
    etcd.control({"compact", std::to_string(store.current().revision)});
    std::vector<std::int64_t> seen;
    store.watchCurrent(from, [&](const Current& current) {
        seen.push_back(current.version());
        return false;
    });
    EXPECT_THAT(seen, ElementsAre(3));
}

} // namespace
