// SPDX-License-Identifier: Apache-2.0
#include "sysconfsync/Sync.h"

#include <gmock/gmock.h>
#include <json/json.h>

#include <csignal>
#include <sstream>

namespace {

using namespace support;
using namespace sysconfsync;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr const char* kSince = "2026-11-22T14:00:00Z";

/// A cluster with version 2 of the pair; node-1 runs it, node-2 runs version 1.
class SyncStatusOutput : public EtcdTest {
protected:
    void SetUp() override {
        EtcdTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        etcd = std::make_unique<Etcd>();
        client = std::make_unique<Client>(etcd->connection());
        store = std::make_unique<Store>(*client, "/sysconf/");
        const auto tree = copySample("ha-pair", "tree");
        ASSERT_EQ(runSync(*etcd, {"publish", tree}).exitStatus, 0);
        ASSERT_EQ(runSync(*etcd, {"publish", tree, "-m", "second"}).exitStatus, 0);
        store->writeStatus("node-1", {.version = 2, .since = kSince});
        store->writeStatus("node-2", {.version = 1, .since = kSince});
    }

    void refuse(std::int64_t version) {
        Refusal refusal{.version = version, .when = kSince};
        Json::Value finding;
        finding["file"] = "node-2/etc/app.json";
        finding["line"] = 3;
        finding["severity"] = "error";
        finding["text"] = "a port is a text";
        refusal.findings.append(finding);
        store->writeStatus("node-2", {.version = 1, .since = kSince, .refused = refusal});
    }

    RunningCommand waitFor(const std::string& version, std::vector<std::string> more = {}) {
        more.insert(more.begin(), {"status", "-o", "plain", "--wait", version});
        return syncCommand(*etcd, more).start();
    }

    std::unique_ptr<Etcd> etcd;
    std::unique_ptr<Client> client;
    std::unique_ptr<Store> store;
};

TEST_F(SyncStatusOutput, EachFormat_ShowsNodesVersionsAndFindings) {
    store->writeStatus("node-9", {.version = 1, .since = kSince});
    refuse(2);
    const CommandResult table = runSync(*etcd, {"status"});
    EXPECT_EQ(table.exitStatus, 1) << table.errors;
    EXPECT_THAT(table.output, AllOf(StartsWith("version 2 ("), HasSubstr(", second) is current\n"),
                                    HasSubstr("node-1  2        2026-11-22T14:00:00Z  current\n"),
                                    HasSubstr("version 2 refused at 2026-11-22T14:00:00Z"),
                                    HasSubstr("node-2/etc/app.json:3: error: a port is a text")));
    EXPECT_EQ(runSync(*etcd, {"status", "-o", "plain"}).output,
              "node-1\t2\t2026-11-22T14:00:00Z\tcurrent\t\t\n"
              "node-2\t1\t2026-11-22T14:00:00Z\trefused\tversion 2 refused at "
              "2026-11-22T14:00:00Z\tnode-2/etc/app.json:3: error: a port is a text\n"
              "node-9\t1\t2026-11-22T14:00:00Z\tremoved\t\t\n");
    Json::Value json;
    std::istringstream(runSync(*etcd, {"status", "-o", "json"}).output) >> json;
    EXPECT_EQ(json["current"]["version"], 2);
    EXPECT_EQ(json["nodes"][1]["state"], "refused");
    EXPECT_EQ(json["nodes"][1]["refused"]["findings"][0]["line"], 3);
}

TEST_F(SyncStatusOutput, NodeWithoutStatus_IsSilentAndNotDone) {
    etcd->control({"del", "/sysconf/status/node-2"});
    const CommandResult plain = runSync(*etcd, {"status", "-o", "plain"});
    EXPECT_THAT(plain.output, HasSubstr("node-2\t0\t\tsilent\t\t\n"));
    EXPECT_EQ(plain.exitStatus, 1);
}

TEST_F(SyncStatusOutput, NodeThatRunsANewerVersionAndRefusesThisOne_HasRefused) {
    const struct {
        std::int64_t runs;
        std::int64_t refused;
        const char* state;
    } rows[] = {{5, 2, "refused"}, {2, 2, "refused"}, {5, 6, "current"}, {2, 3, "current"}};
    for (const auto& row : rows) {
        store->writeStatus("node-2", {.version = row.runs,
                                      .since = kSince,
                                      .refused = Refusal{.version = row.refused, .when = kSince}});
        const CommandResult plain = runSync(*etcd, {"status", "-o", "plain"});
        EXPECT_THAT(plain.output, HasSubstr('\t' + std::string(row.state) + "\tversion"));
        EXPECT_EQ(plain.exitStatus, row.state == std::string("current") ? 0 : 1);
    }
}

TEST_F(SyncStatusOutput, DamagedStatus_IsShownAndOldVersionsAreDeletedNevertheless) {
    etcd->control({"put", "/sysconf/status/node-2", "x"});
    const CommandResult plain = runSync(*etcd, {"status", "-o", "plain"});
    EXPECT_EQ(plain.output,
              std::string("node-1\t2\t") + kSince + "\tcurrent\t\t\nnode-2\t0\t\tdamaged\t\t\n");
    EXPECT_EQ(plain.exitStatus, 1);

    RunningCommand waiting = waitFor("2");
    etcd->waitForMetric(0, "etcd_debugging_mvcc_watcher_total 1");
    etcd->control({"put", "/sysconf/status/node-2", "y"});
    store->writeStatus("node-2", {.version = 2, .since = kSince});
    const CommandResult done = waiting.finish();
    EXPECT_EQ(done.exitStatus, 0) << done.errors << done.output;

    etcd->control({"put", "/sysconf/status/node-2", "x"});
    ASSERT_EQ(runSync(*etcd, {"rollback", "2", "--keep", "1"}).errors, "");
    EXPECT_FALSE(store->info(1));
}

TEST_F(SyncStatusOutput, AllNodesRunIt_IsDone) {
    store->writeStatus("node-2", {.version = 2, .since = kSince});
    EXPECT_EQ(runSync(*etcd, {"status"}).exitStatus, 0);
    EXPECT_EQ(waitFor("1").finish().exitStatus, 0);
}

TEST_F(SyncStatusOutput, Wait_EndsWhenTheLastNodeRunsTheVersion) {
    RunningCommand waiting = waitFor("2");
    // The member has the number of watchers; the command has read the statuses before it watches.
    etcd->waitForMetric(0, "etcd_debugging_mvcc_watcher_total 1");
    store->writeStatus("node-2", {.version = 2, .since = kSince});
    const CommandResult done = waiting.finish();
    EXPECT_EQ(done.exitStatus, 0) << done.errors;
    EXPECT_THAT(done.output, HasSubstr("node-2\t2\t2026-11-22T14:00:00Z\tcurrent\t\t\n"));
}

TEST_F(SyncStatusOutput, Wait_EndsWhenANodeRefusesTheVersion) {
    RunningCommand waiting = waitFor("2");
    etcd->waitForMetric(0, "etcd_debugging_mvcc_watcher_total 1");
    refuse(2);
    const CommandResult done = waiting.finish();
    EXPECT_EQ(done.exitStatus, 1);
    EXPECT_THAT(done.output, HasSubstr("a port is a text"));
}

TEST_F(SyncStatusOutput, Wait_EndsAtItsTimeout) {
    const CommandResult done = waitFor("2", {"--timeout", "1"}).finish();
    EXPECT_EQ(done.exitStatus, 1);
    EXPECT_EQ(done.errors, "sysconfsync: not all nodes run version 2 after 1 s\n");
    EXPECT_THAT(done.output, HasSubstr("node-2\t1\t2026-11-22T14:00:00Z\tolder\t\t\n"));
}

TEST_F(SyncStatusOutput, Wait_EndsBySignal) {
    RunningCommand waiting = waitFor("2");
    etcd->waitForMetric(0, "etcd_debugging_mvcc_watcher_total 1");
    waiting.signal(SIGTERM);
    const CommandResult done = waiting.finish();
    EXPECT_EQ(done.exitStatus, 1);
    EXPECT_EQ(done.errors, "sysconfsync: interrupted\n");
}

TEST_F(SyncStatusOutput, VersionThatHasBeenDeleted_IsAnError) {
    etcd->control({"del", "--prefix", "/sysconf/versions/1/"});
    const CommandResult done = waitFor("1").finish();
    EXPECT_EQ(done.exitStatus, 1);
    EXPECT_THAT(done.errors, HasSubstr("there is no version 1, or it has been deleted"));
}

TEST_F(SyncStatusOutput, VersionThatDoesNotExist_IsAnError) {
    const CommandResult done = waitFor("3").finish();
    EXPECT_EQ(done.exitStatus, 1);
    EXPECT_THAT(done.errors, HasSubstr("version 3 has not been published yet"));
}

} // namespace
