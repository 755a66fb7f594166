// SPDX-License-Identifier: Apache-2.0
#include "support/Deployment.h"
#include "support/TestDirectory.h"
#include "sysconfsync/Sync.h"
#include "tree/DeploymentTree.h"

#include <gmock/gmock.h>
#include <json/json.h>

#include <sstream>
#include <sys/stat.h>
#include <thread>

namespace {

using namespace support;
using namespace sysconfsync;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;

constexpr const char* kPort = "31543";
const std::string kApp = "node-2/etc/app.json";

using Publish = EtcdTest;
using Rollback = EtcdTest;

CommandResult publish(const Etcd& etcd, const std::filesystem::path& tree,
                      std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"publish", tree});
    return runSync(etcd, more);
}

struct Reader {
    explicit Reader(const Etcd& etcd, std::size_t first = 0)
        : client(etcd.connection(first)), store(client, "/sysconf/") {}
    Client client;
    Store store;
};

std::string keysOf(const Etcd& etcd) {
    return etcd.control({"get", "", "--prefix", "--keys-only"});
}

TEST_F(Publish, Tree_GivesEachNodeItsFilesAtTheirPaths) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    writeFile(tree / "notes/app.json", readText(tree / "node-1/etc/app.json"));
    const CommandResult done = publish(etcd, tree, {"-m", "first"});
    EXPECT_EQ(done.output, "version 1 is published for 2 nodes\n");
    EXPECT_THAT(done.errors, HasSubstr("notes/app.json is not published: no env file names it"));
    ASSERT_EQ(done.exitStatus, 0) << done.errors;

    Reader reader(etcd);
    const auto node = reader.store.node(1, "node-2");
    ASSERT_TRUE(node);
    EXPECT_THAT(*node, ElementsAre(Key("manager/etc/sysconf/nodelists.json"), Key(kApp),
                                   Key("node-2/etc/sysconf/nodelist.json"), Key("standby.env")));
    for (const auto& [path, text] : *node) {
        EXPECT_EQ(text, readText(tree / path)) << path;
    }
    EXPECT_EQ(reader.store.current().info->message, "first");
    EXPECT_EQ(reader.store.node(1, "node-3"), std::nullopt);
    // The manager node list is stored once, for both nodes.
    const std::string sums = etcd.control({"get", "/sysconf/versions/1/files/", "--prefix"});
    EXPECT_THAT(sums, HasSubstr(readText(tree / "manager/etc/sysconf/nodelists.json")));
}

TEST_F(Publish, TreeWithErrors_ShowsTheFindingsAndWritesNothing) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    replaceText(tree / kApp, kPort, "\"31543\"");
    const CommandResult refused = publish(etcd, tree);
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(refused.output, HasSubstr("wrong-type"));
    EXPECT_THAT(keysOf(etcd), IsEmpty());
}

TEST_F(Publish, TreeThatCannotBeDistributed_IsRefused) {
    const Etcd etcd;
    const struct {
        const char* from;
        std::string to;
        const char* error;
    } rows[] = {
        {"APP_CONF_FILE", "OTHER_FILE", "its process has no node"},
        {"TOLM_ROOT=", "TOLM_ROOT=../other/", "is not in the published folder"},
        {"APP_ROOT=", "APP_ROOT=" + testDirectory().string() + "/APP_ROOT=/",
         "APP_ROOT is an absolute path"},
    };
    copySample("ha-pair", "other");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.from);
        const auto tree = copySample("ha-pair", row.from);
        replaceText(tree / "standby.env", row.from, row.to);
        const CommandResult refused = publish(etcd, tree);
        EXPECT_EQ(refused.exitStatus, 1) << refused.output;
        EXPECT_THAT(refused.errors, HasSubstr(row.error));
    }
    EXPECT_THAT(keysOf(etcd), IsEmpty());
}

TEST_F(Publish, EnvFileThatCannotBeReadOrLinkedFolder_IsRefused) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    writeFile(tree / "second.env", "APP_ROOTT=node-1\n");
    writeFile(tree / "third.env", readText(tree / "master.env") + "garbage\n");
    std::filesystem::create_symlink("nowhere.env", tree / "fourth.env");
    std::filesystem::create_symlink(copySample("ha-pair", "other"), tree / "linked");
    std::filesystem::create_symlink("node-1", tree / "inside");
    const CommandResult refused = publish(etcd, tree);
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(refused.errors, AllOf(HasSubstr("second.env:1: unknown variable APP_ROOTT"),
                                      HasSubstr("third.env:7: expected KEY=VALUE"),
                                      HasSubstr("fourth.env: No such file or directory"),
                                      HasSubstr("linked is a link to a folder outside"),
                                      Not(HasSubstr("inside is"))));
    EXPECT_THAT(keysOf(etcd), IsEmpty());
}

TEST_F(Publish, FilesThatAreNotRegular_AreRefused) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    for (const char* name : {"pipe.env", "pipe.json"}) {
        ASSERT_EQ(::mkfifo((tree / name).c_str(), 0600), 0);
    }
    const CommandResult refused = publish(etcd, tree);
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(refused.errors, HasSubstr("pipe.env is not a regular file"));
}

TEST_F(Publish, NodeThatWouldBeRemoved_IsNamedAndNeedsAnOption) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    ASSERT_EQ(publish(etcd, tree).exitStatus, 0);
    std::filesystem::rename(tree / "standby.env", tree / "standby.off");
    const CommandResult refused = publish(etcd, tree);
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(refused.errors,
                HasSubstr("version 1 has 1 node that would be removed: node-2; --remove-nodes"));
    EXPECT_EQ(Reader(etcd).store.current().version(), 1);
    EXPECT_EQ(publish(etcd, tree, {"--remove-nodes"}).output,
              "version 2 is published for 1 node\n");
    std::filesystem::rename(tree / "standby.off", tree / "standby.env");
    ASSERT_EQ(publish(etcd, tree).exitStatus, 0);
    EXPECT_THAT(runSync(etcd, {"rollback", "2"}).errors, HasSubstr("node-2; --remove-nodes"));
    EXPECT_EQ(Reader(etcd).store.current().version(), 3);
}

TEST(SyncTree, EnvFileThatChangesAfterTheCheck_IsPublishedAsItWasChecked) {
    const auto tree = copySample("ha-pair", "tree");
    const std::string checked = readText(tree / "standby.env");
    const sysconfctl::Inventory inventory = sysconfctl::inventoryOf({tree}, {});
    writeFile(tree / "standby.env", "changed");
    EXPECT_EQ(collectTree(inventory, tree).nodes.at("node-2").at("standby.env"), checked);
}

TEST_F(Publish, PathThatANodeCannotHave_IsRefused) {
    const Etcd etcd;
    for (const char* name : {".version", "app-\xff.json"}) {
        SCOPED_TRACE(name);
        const auto tree = copySample("ha-pair", std::string("tree-") + name[0]);
        std::filesystem::rename(tree / kApp, tree / name);
        replaceText(tree / "standby.env", kApp, name);
        const CommandResult refused = publish(etcd, tree);
        EXPECT_EQ(refused.exitStatus, 1);
        EXPECT_THAT(refused.errors, HasSubstr("node-2: "));
    }
    EXPECT_THAT(keysOf(etcd), IsEmpty());
}

TEST_F(Publish, TreeBasedOnAnOlderVersion_IsRefusedUntilTheNewerOneIsFetched) {
    const Etcd etcd;
    const auto mine = copySample("ha-pair", "mine");
    ASSERT_EQ(publish(etcd, mine).exitStatus, 0);
    const auto theirs = testDirectory() / "theirs";
    ASSERT_EQ(runSync(etcd, {"fetch", theirs}).exitStatus, 0);
    ASSERT_EQ(publish(etcd, theirs, {"-m", "new port"}).exitStatus, 0);

    const CommandResult refused = publish(etcd, mine);
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_THAT(refused.errors,
                AllOf(HasSubstr("version 2 ("), HasSubstr(Reader(etcd).store.current().info->who),
                      HasSubstr("new port) is current, and this tree is based on version 1")));
    EXPECT_EQ(Reader(etcd).store.current().version(), 2);
    EXPECT_EQ(publish(etcd, theirs, {"--prefix", "/other"}).output,
              "version 1 is published for 2 nodes\n");
    EXPECT_EQ(runSync(etcd, {"fetch", mine}).exitStatus, 2);
    EXPECT_EQ(publish(etcd, mine, {"--based-on", "2"}).output,
              "version 3 is published for 2 nodes\n");
}

TEST_F(Publish, OutputThatCannotBeWritten_TheTreeIsBasedOnTheVersion) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    const CommandResult done = syncCommand(etcd, {"publish", tree}).outputToFile("/dev/full").run();
    EXPECT_EQ(done.exitStatus, 0);
    EXPECT_THAT(done.errors, HasSubstr("version 1 is published, but this cannot be reported: "
                                       "cannot write the output: No space left on device"));
    EXPECT_EQ(publish(etcd, tree).output, "version 2 is published for 2 nodes\n");
}

TEST_F(Publish, TreeBasedOnALostVersionWithTheSameNumber_IsRefused) {
    Etcd etcd;
    const auto mine = copySample("ha-pair", "mine");
    ASSERT_EQ(publish(etcd, mine).exitStatus, 0);
    etcd.restartAll(true); // has the same id, as a cluster after a restore
    ASSERT_EQ(publish(etcd, copySample("ha-pair", "theirs")).exitStatus, 0);
    EXPECT_THAT(publish(etcd, mine).errors,
                HasSubstr(") is current, and this tree is based on another version 1"));
    const auto fetched = testDirectory() / "fetched";
    ASSERT_EQ(runSync(etcd, {"fetch", fetched}).exitStatus, 0);
    EXPECT_EQ(publish(etcd, fetched).exitStatus, 0);
}

TEST_F(Publish, TwoAtOnce_OneWinsAndTheOtherNamesIt) {
    const Etcd etcd;
    const auto a = copySample("ha-pair", "a");
    const auto b = copySample("ha-pair", "b");
    RunningCommand first = syncCommand(etcd, {"publish", a, "-m", "from a"}).start();
    RunningCommand second = syncCommand(etcd, {"publish", b, "-m", "from b"}).start();
    const CommandResult ofA = first.finish();
    const CommandResult ofB = second.finish();
    EXPECT_EQ(ofA.exitStatus + ofB.exitStatus, 1) << ofA.errors << ofB.errors;
    const bool aWon = ofA.exitStatus == 0;
    const Info info = *Reader(etcd).store.current().info;
    EXPECT_EQ(info.message, aWon ? "from a" : "from b");
    EXPECT_THAT((aWon ? ofB : ofA).errors,
                AllOf(HasSubstr("version 1 ("), HasSubstr(info.who), HasSubstr(info.when)));
}

TEST_F(Publish, PublishedSinceTheBaseWasRead_IsRefused) {
    const Etcd etcd;
    Reader reader(etcd);
    const Nodes nodes = {{"n", {{"a", "text"}}}};
    const Current base = reader.store.current();
    const Info mine{.version = 1, .who = "me", .id = "mine"};
    const Info theirs{.version = 1, .who = "they", .id = "theirs"};
    EXPECT_FALSE(reader.store.publish(reader.store.publication(nodes, theirs, base), theirs));
    const auto other = reader.store.publish(reader.store.publication(nodes, mine, base), mine);
    ASSERT_TRUE(other);
    EXPECT_EQ(other->info->who, "they");
}

TEST_F(Publish, AppliedWithoutAnAnswer_IsRecognizedWhenItIsSentAgain) {
    const Etcd etcd;
    Reader reader(etcd);
    const Info info{.version = 1, .id = "mine"};
    const Transaction publication =
        reader.store.publication({{"n", {{"a", "text"}}}}, info, reader.store.current());
    EXPECT_FALSE(reader.store.publish(publication, info));
    EXPECT_FALSE(reader.store.publish(publication, info));
    // Even after somebody else has published the next version.
    const Current base = reader.store.current();
    const Info next{.version = 2, .id = "theirs"};
    EXPECT_FALSE(reader.store.publish(reader.store.publication({}, next, base), next));
    EXPECT_FALSE(reader.store.publish(publication, info));
    EXPECT_EQ(reader.store.current().version(), 2);
}

TEST_F(Publish, LeaderKilledMeanwhile_WritesAllOfItOnce) {
    Etcd etcd({.members = 3});
    const std::size_t leader = etcd.leader();
    Reader reader(etcd, leader);
    Nodes nodes;
    for (int i = 0; i < 20; ++i) {
        nodes["node-" + std::to_string(i)] = {{"own", std::to_string(i)}, {"shared", "text"}};
    }
    const Info info{.version = 1, .id = "mine"};
    const Transaction publication = reader.store.publication(nodes, info, reader.store.current());
    // The leader has the transaction, and cannot commit it.
    for (std::size_t i = 0; i < etcd.size(); ++i) {
        if (i != leader) {
            etcd.freeze(i);
        }
    }
    std::optional<Current> other;
    std::thread publisher([&] { other = reader.store.publish(publication, info); });
    etcd.waitForMetric(leader, "etcd_server_proposals_pending 1");
    etcd.kill(leader);
    for (std::size_t i = 0; i < etcd.size(); ++i) {
        if (i != leader) {
            etcd.thaw(i);
        }
    }
    publisher.join();
    EXPECT_FALSE(other);
    EXPECT_EQ(reader.store.current().version(), 1);
    EXPECT_EQ(reader.store.nodes(1), nodes);
    const RangeResult all = reader.client.range({"/sysconf/", prefixEnd("/sysconf/"), true});
    EXPECT_EQ(all.keys.size(), nodes.size() + 3);
    for (const KeyValue& one : all.keys) {
        EXPECT_EQ(one.modRevision, all.keys.front().modRevision) << one.key;
    }
}

TEST_F(Publish, FrozenMember_AnotherOneAnswers) {
    Etcd etcd({.members = 3});
    const std::size_t frozen = (etcd.leader() + 1) % etcd.size();
    etcd.freeze(frozen);
    const CommandResult done =
        publish(etcd, copySample("ha-pair", "tree"),
                {"--endpoints", etcd.endpoints(frozen), "--call-timeout", "1"});
    EXPECT_EQ(done.exitStatus, 0) << done.errors;
}

TEST_F(Publish, NoMemberAnswers_SaysWhetherItMayBePublished) {
    Etcd etcd({.members = 3});
    const auto tree = copySample("ha-pair", "tree");
    const std::size_t leader = etcd.leader();
    Reader reader(etcd, leader);
    const Info info{.version = 1, .id = "mine"};
    const Transaction publication = reader.store.publication({}, info, reader.store.current());
    for (std::size_t i = 0; i < etcd.size(); ++i) {
        etcd.freeze(i);
    }
    Connection impatient = etcd.connection(leader);
    impatient.callLimit = std::chrono::milliseconds(100);
    Client client(impatient);
    try {
        Store(client, "/sysconf/").publish(publication, info);
        FAIL() << "no exception";
    } catch (const EtcdError& error) {
        EXPECT_EQ(error.reason, Failure::Unreachable);
        EXPECT_TRUE(error.mayBeApplied);
    }
    for (std::size_t i = 0; i < etcd.size(); ++i) {
        etcd.kill(i);
    }
    const CommandResult failed = publish(etcd, tree);
    EXPECT_EQ(failed.exitStatus, 3);
    EXPECT_THAT(failed.errors, HasSubstr("no etcd endpoint answers: " + etcd.endpoint(0)));
}

TEST_F(Publish, MoreThanTheLimitsOfTheMembers_NamesTheSizeAndTheOptions) {
    const auto tree = copySample("ha-pair", "tree");
    for (const std::vector<std::string>& limit :
         {std::vector<std::string>{"--max-txn-ops", "4"}, {"--max-request-bytes", "4096"}}) {
        SCOPED_TRACE(limit.front());
        const Etcd etcd({.arguments = limit});
        const CommandResult failed = publish(etcd, tree);
        EXPECT_EQ(failed.exitStatus, 3);
        EXPECT_THAT(failed.errors,
                    AllOf(HasSubstr("nothing has been published"), HasSubstr("6 operations and "),
                          HasSubstr("--max-txn-ops and --max-request-bytes")));
        EXPECT_THAT(keysOf(etcd), IsEmpty());
    }
}

TEST_F(Publish, DryRun_ShowsTheNodesAndAnswersThatWouldChangeAndWritesNothing) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    ASSERT_EQ(publish(etcd, tree).exitStatus, 0);
    replaceText(tree / kApp, kPort, "31999");
    const std::string before = etcd.control({"get", "", "--prefix"});
    const CommandResult table = publish(etcd, tree, {"--dry-run"});
    EXPECT_EQ(table.exitStatus, 0) << table.errors;
    EXPECT_THAT(table.output, AllOf(HasSubstr("node-2 is changed\n6 operations and "),
                                    HasSubstr("wss-port"), HasSubstr("- 31543"),
                                    HasSubstr("+ 31999"), HasSubstr("version-2/" + kApp + ":")));
    EXPECT_THAT(publish(etcd, tree, {"--dry-run", "-o", "plain"}).output,
                HasSubstr("node\tnode-2\tchanged\n"));
    Json::Value json;
    std::istringstream(publish(etcd, tree, {"--dry-run", "-o", "json"}).output) >> json;
    EXPECT_EQ(json["nodes"][0]["node"], "node-2");
    EXPECT_EQ(json["basedOn"], 1);
    EXPECT_FALSE(json["diff"]["same"].asBool());
    EXPECT_EQ(etcd.control({"get", "", "--prefix"}), before);
}

TEST_F(Publish, MoreThanKeep_DeletesTheOldestExceptThoseThatANodeRuns) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    Reader reader(etcd);
    reader.store.writeStatus("node-1", {.version = 1});
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(publish(etcd, tree, {"--keep", "2"}).exitStatus, 0);
    }
    EXPECT_TRUE(reader.store.info(1));
    EXPECT_FALSE(reader.store.info(2));
    EXPECT_TRUE(reader.store.info(3));
    EXPECT_TRUE(reader.store.info(4));
}

TEST_F(Rollback, OlderVersion_IsPublishedAgainUnderANewNumber) {
    const Etcd etcd;
    const auto tree = copySample("ha-pair", "tree");
    ASSERT_EQ(publish(etcd, tree).exitStatus, 0);
    replaceText(tree / kApp, kPort, "31999");
    ASSERT_EQ(publish(etcd, tree).exitStatus, 0);
    EXPECT_EQ(runSync(etcd, {"rollback", "1"}).output, "version 3 is published for 2 nodes\n");
    Reader reader(etcd);
    EXPECT_EQ(reader.store.nodes(3), reader.store.nodes(1));
    EXPECT_NE(reader.store.nodes(3), reader.store.nodes(2));
    EXPECT_EQ(reader.store.current().info->message, "rollback to version 1");

    const CommandResult none = runSync(etcd, {"rollback", "9"});
    EXPECT_EQ(none.exitStatus, 1);
    EXPECT_THAT(none.errors, HasSubstr("there is no version 9"));
    EXPECT_EQ(reader.store.current().version(), 3);
}

TEST_F(Publish, EncryptedConnection_NeedsTheAuthorityAndAClientCertificate) {
    const Etcd etcd({.tls = true});
    const auto tree = copySample("ha-pair", "tree");
    const Connection connection = etcd.connection();
    const std::vector<std::string> authority = {"--cacert", connection.caCertificate};
    const std::vector<std::string> all = {"--cacert", connection.caCertificate,
                                          "--cert",   connection.certificate,
                                          "--key",    connection.key};
    for (const auto& tooFew : {std::vector<std::string>(), authority}) {
        const CommandResult failed = publish(etcd, tree, tooFew);
        EXPECT_EQ(failed.exitStatus, 3);
        EXPECT_THAT(failed.errors, HasSubstr("no etcd endpoint answers"));
    }
    EXPECT_EQ(publish(etcd, tree, all).output, "version 1 is published for 2 nodes\n");
}

TEST_F(Publish, Users_NeedTheirPassword) {
    const Etcd etcd;
    etcd.requireUsers("right");
    const auto tree = copySample("ha-pair", "tree");
    const auto file = testDirectory() / "password";
    writeFile(file, "right\n");
    const CommandResult anonymous = publish(etcd, tree);
    EXPECT_EQ(anonymous.exitStatus, 3);
    EXPECT_THAT(anonymous.errors, HasSubstr("etcd requires a user and a password"));
    const CommandResult wrong = syncCommand(etcd, {"publish", tree, "--user", "root"})
                                    .variable("SYSCONFSYNC_PASSWORD", "wrong")
                                    .run();
    EXPECT_EQ(wrong.exitStatus, 3);
    EXPECT_THAT(wrong.errors, HasSubstr("etcd denies access"));
    EXPECT_EQ(publish(etcd, tree, {"--user", "root", "--password-file", file}).output,
              "version 1 is published for 2 nodes\n");
}

} // namespace
