// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "etcd/Transport.h"
#include "store/Store.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace support {

struct EtcdSettings {
    std::size_t members = 1;
    /// Encrypted, with client certificates.
    bool tls = false;
    std::vector<std::string> arguments = {};
};

/// A cluster of etcd members on a loopback address of the test, with its data in the test's
/// directory. A test has one cluster at a time. The members end with the test process, however that
/// ends.
class Etcd {
public:
    /// Returns when all members answer.
    explicit Etcd(EtcdSettings settings = {});
    ~Etcd();
    Etcd(const Etcd&) = delete;
    Etcd& operator=(const Etcd&) = delete;

    static bool isInstalled();

    std::size_t size() const { return m_members.size(); }
    const std::string& endpoint(std::size_t member) const { return m_members[member].endpoint; }
    /// All endpoints, separated by commas; that of the given member first.
    std::string endpoints(std::size_t first = 0) const;
    /// The settings of a client of all members; that of the given member first.
    sysconfsync::Connection connection(std::size_t first = 0) const;

    std::size_t leader() const;
    void kill(std::size_t member);
    void freeze(std::size_t member) const;
    void thaw(std::size_t member) const;
    void restart(std::size_t member);
    /// Kills all members and starts them again, with their data or as a new cluster. Returns when
    /// all answer.
    void restartAll(bool empty);
    /// Waits until the metrics of the member have that line. "etcd_server_proposals_pending 1": a
    /// transaction is not committed yet.
    void waitForMetric(std::size_t member, const std::string& line) const;
    void waitForMetricOfAny(const std::string& line) const;

    /// @throws std::runtime_error if it fails.
    std::string control(const std::vector<std::string>& arguments) const;
    void requireUsers(const std::string& password) const;

private:
    struct Member {
        pid_t process = -1;
        std::string endpoint;
        std::string peer;
        std::filesystem::path folder;
    };

    void startAll();
    void startMember(Member& member) const;
    bool hasMetric(std::size_t member, const std::string& line) const;
    /// @throws std::runtime_error if it ends.
    void waitUntilHealthy(Member& member) const;

    EtcdSettings m_settings;
    std::vector<Member> m_members;
};

/// Base of tests that need etcd. They are skipped where it is not installed.
class EtcdTest : public testing::Test {
protected:
    void SetUp() override {
        if (!Etcd::isInstalled()) {
            GTEST_SKIP() << "etcd-server and etcd-client are not installed";
        }
    }
};

} // namespace support
