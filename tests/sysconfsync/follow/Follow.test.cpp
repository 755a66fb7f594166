// SPDX-License-Identifier: Apache-2.0
// `sysconfsync follow` against real members of etcd. After each disturbance the folder has one
// whole version, and the status in etcd says which.

#include "Following.h"

#include "etcd/Encoding.h"

#include <deployment/Sources.h>

#include <csignal>
#include <fstream>

namespace {

using ::testing::HasSubstr;
using namespace following;

TEST_F(Follow, PublishedVersion_ReachesTheAnswersOfAProcess) {
    publish(31001);
    support::RunningCommand follower = follow();
    waitForApplied(1);
    support::RunningCommand process = watchPort();
    process.waitForErrors("subscribed to changes");
    process.waitForOutput("31001");
    publish(31002);
    process.waitForOutput("31002");
    waitForApplied(2);
    process.signal(SIGTERM);
    EXPECT_THAT(process.finish().output, Not(HasSubstr("no longer loads")));
    follower.signal(SIGTERM);
    EXPECT_EQ(follower.finish().exitStatus, 0);
}

TEST_F(Follow, NothingPublished_FolderStaysEmpty) {
    EXPECT_EQ(once().exitStatus, 1);
    EXPECT_EQ(appliedVersion(), 0);
    EXPECT_EQ(status().version, 0);
}

TEST_F(Follow, BrokenFile_VersionIsRefusedUntilTheNextOne) {
    publish(31001);
    support::RunningCommand follower = follow();
    waitForApplied(1);
    Files broken = filesOf(31002);
    broken["etc/app.json"].resize(100);
    publish(broken);
    const Refusal refusal = waitForRefusal(2);
    EXPECT_EQ(refusal.findings[0]["name"], "syntax");
    EXPECT_EQ(refusal.findings[0]["file"], "etc/app.json");
    expectWhole(31001);
    publish(31003);
    waitForApplied(3);
    EXPECT_FALSE(status().refused);
    expectWhole(31003);
}

TEST_F(Follow, HostWithTwoServiceAddresses_VersionIsRefused) {
    const std::list<std::string> addresses = sysconfctl::addressesOfHost({});
    if (addresses.size() < 2) {
        GTEST_SKIP() << "the host has one address only";
    }
    Files files = filesOf(31001);
    std::string& list = files["etc/sysconf/nodelist.json"];
    const std::string standby = "\"node-2\": {";
    list.insert(list.find(standby),
                R"("node-3": {"assignedToTenancy": "other", "extAttr": {"hostType": "master"},
                   "IPAddresses": [{"IP": ")" +
                    addresses.back() + R"(", "usage": ["service"]}]},)");
    files.erase("manager/etc/sysconf/nodelists.json");
    list.replace(list.find("127.0.0.1"), 9, addresses.front());
    publish(files);
    EXPECT_EQ(once().exitStatus, 1);
    EXPECT_EQ(waitForRefusal(1).findings[0]["name"], "several-sources");
}

TEST_F(Follow, OlderVersion_IsAppliedOnlyOnRequest) {
    publish(31001);
    publish(31002);
    EXPECT_EQ(once().exitStatus, 0);
    publishAgain(1);
    const auto refused = once();
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(refused.errors, HasSubstr("version 1 is older than the applied version 2"));
    EXPECT_EQ(waitForRefusal(1).findings[0]["name"], "version");
    expectWhole(31002);
    EXPECT_EQ(once({"--accept-older"}).exitStatus, 0);
    waitForApplied(1);
    expectWhole(31001);
}

TEST_F(Follow, NodeThatIsNotInTheVersion_IsRefused) {
    publish(31001);
    EXPECT_EQ(once().exitStatus, 0);
    publish(Nodes{{"another", filesOf(31002)}});
    EXPECT_EQ(once().exitStatus, 1);
    EXPECT_EQ(waitForRefusal(2).findings[0]["name"], "no-node");
    expectWhole(31001);
}

TEST_F(Follow, SharedFileThatIsUnchanged_IsNotReadAgain) {
    publish(Nodes{{"node-1", filesOf(31001)}, {"node-2", filesOf(31001)}});
    EXPECT_EQ(once().exitStatus, 0);
    publish(Nodes{{"node-1", filesOf(31002)}, {"node-2", filesOf(31002)}});
    // Only the app config file has changed: the others need not be in etcd.
    const std::string list = filesOf(31002)["etc/sysconf/nodelist.json"];
    m_client->transact({{}, {Delete{"/sysconf/versions/2/files/" + sha256(list)}}, {}});
    EXPECT_EQ(once().exitStatus, 0);
    expectWhole(31002);
}

TEST_F(Follow, UserWithItsOwnPermissions_FollowsAndReports) {
    publish(31001);
    m_etcd->control({"role", "add", "node-2"});
    const auto grant = [&](std::vector<std::string> permission) {
        permission.insert(permission.begin(), {"role", "grant-permission", "node-2"});
        m_etcd->control(permission);
    };
    grant({"read", "/sysconf/current"});
    grant({"read", "/sysconf/versions/", "--prefix=true"});
    grant({"readwrite", "/sysconf/status/node-2"});
    m_etcd->control({"user", "add", "node-2:secret"});
    m_etcd->control({"user", "grant-role", "node-2", "node-2"});
    m_etcd->requireUsers("secret");
    support::RunningCommand follower =
        followCommand({"--user", "node-2"}).variable("SYSCONFSYNC_PASSWORD", "secret").start();
    Connection root = m_etcd->connection();
    root.user = "root";
    root.password = "secret";
    m_client.emplace(root);
    m_store.emplace(*m_client, "/sysconf/");
    waitForApplied(1);
    publish(31002);
    waitForApplied(2);
    expectWhole(31002);
}

TEST_F(Follow, SecondFollowerInTheFolder_EndsWithAnError) {
    publish(31001);
    const support::RunningCommand follower = follow();
    waitForApplied(1);
    const auto second = once();
    EXPECT_NE(second.exitStatus, 0);
    EXPECT_THAT(second.errors, HasSubstr("another process follows in this folder"));
}

TEST_F(Follow, FilesThatWereChanged_AreWrittenAgainAtTheNextStart) {
    publish(31001);
    EXPECT_EQ(once().exitStatus, 0);
    std::ofstream(m_folder / "current/etc/app.json") << "{}";
    std::filesystem::remove(m_folder / "current/etc/sysconf/nodelist.json");
    EXPECT_THAT(once().errors, HasSubstr("version 1 is applied"));
    expectWhole(31001);
    EXPECT_EQ(once().errors, "");
}

TEST_F(Follow, MessagesThatCannotBeWritten_DoNotMatter) {
    publish(31001);
    std::vector<std::string> arguments = {"-c", "exec \"$0\" \"$@\" 2>/dev/full", SYSCONFSYNC};
    const std::vector<std::string> follow = followArguments({"--once"});
    arguments.insert(arguments.end(), follow.begin(), follow.end());
    EXPECT_EQ(support::Command("/bin/sh", arguments).run().exitStatus, 0);
    EXPECT_FALSE(status().refused);
    expectWhole(31001);
}

TEST_F(Follow, FolderOfAnotherNodeOrPrefix_IsRefused) {
    publish(Nodes{{"node-1", filesOf(31002)}, {"node-2", filesOf(31001)}});
    EXPECT_EQ(once().exitStatus, 0);
    std::vector<std::string> another = followArguments({"--once"});
    another[1] = "node-1";
    for (const support::Command& command :
         {support::Command(SYSCONFSYNC, another),
          support::Command(SYSCONFSYNC, followArguments({"--once", "--prefix", "/other"}))}) {
        const auto refused = command.run();
        EXPECT_EQ(refused.exitStatus, 70);
        EXPECT_THAT(refused.errors,
                    HasSubstr("the folder has the files of node \"node-2\" with the "
                              "prefix \"/sysconf/\""));
    }
    EXPECT_FALSE(m_store->statuses().nodes.contains("node-1"));
    expectWhole(31001);
    EXPECT_EQ(once().exitStatus, 0);
}

TEST_F(Follow, AnyHostileRecordOfTheNode_IsRefused) {
    publish(31001);
    EXPECT_EQ(once().exitStatus, 0);
    struct Row {
        std::string record;
        const char* finding;
    };
    std::int64_t version = 1;
    for (const Row& row :
         std::vector<Row>{{"", "malformed"},
                          {"no JSON", "malformed"},
                          {"[]", "malformed"},
                          {std::string(100'000, '['), "malformed"},
                          {std::string("\0\xFF", 2), "malformed"},
                          {R"({"files": []})", "malformed"},
                          {R"({"files": {"a": 1}})", "malformed"},
                          {R"({"files": {"a": {"chunks": []}}})", "malformed"},
                          {R"({"files": {"a": {"text": "***"}}})", "malformed"},
                          {R"({"files": {"a": {"text": []}}})", "malformed"},
                          {R"({"files": {"a": {"shared": "../info"}}})", "no-node"},
                          {R"({"files": {"../../outside": {"text": ""}}})", "malformed"},
                          {R"({"files": {"/outside": {"text": ""}}})", "malformed"},
                          {R"({"files": {"a\u0000b": {"text": ""}}})", "malformed"},
                          {R"({"files": {"a": {"text": ""}, "a/b": {"text": ""}}})", "path"},
                          {R"({"files": {".version": {"text": ""}}})", "path"},
                          {"{}", "no-file"}}) {
        publish(31002);
        ++version;
        put("versions/" + std::to_string(version) + "/nodes/node-2", row.record);
        const auto result = once();
        EXPECT_EQ(result.exitStatus, 1) << row.record << result.errors;
        EXPECT_EQ(waitForRefusal(version).findings[0]["name"].asString(), row.finding)
            << row.record;
        EXPECT_EQ(status().version, 1);
        expectWhole(31001);
    }
}

TEST_F(Follow, AnyHostileRecordOfTheCurrentVersion_IsRefused) {
    publish(31001);
    support::RunningCommand follower = follow();
    waitForApplied(1);
    for (const char* record : {"", "[]", R"({"version": 0})", R"({"version": {}})",
                               R"({"version": 18446744073709551615})", R"({"version": 1e300})"}) {
        put("current", record);
        EXPECT_EQ(waitForRefusal(0).version, 0) << record;
        expectWhole(31001);
        publishAgain(1);
        waitFor([](const NodeStatus& status) { return !status.refused; });
    }
}

TEST_F(Follow, AnySignalToEnd_EndsTheWatch) {
    std::int64_t version = 0;
    for (const int signal : {SIGTERM, SIGINT}) {
        publish(31001);
        support::RunningCommand follower = follow();
        waitForApplied(++version);
        follower.signal(signal);
        EXPECT_EQ(follower.finish().exitStatus, 0) << signal;
    }
}

} // namespace
