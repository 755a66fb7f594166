// SPDX-License-Identifier: Apache-2.0
#include "store/Records.h"

#include "cli/SyncCommandLine.h"
#include "etcd/Encoding.h"
#include "etcd/EtcdError.h"
#include "etcd/Requests.h"
#include "sysconfsync/Sync.h"

#include <gmock/gmock.h>

#include <regex>

namespace {

using namespace sysconfsync;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

TEST(SyncEncoding, AnyBytes_AreRestored) {
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(fromBase64(toBase64(bytes)), bytes) << i;
        bytes += static_cast<char>(i);
    }
    EXPECT_EQ(toBase64("ab"), "YWI=");
    EXPECT_THROW(fromBase64("?!?!"), EtcdError);
    EXPECT_THROW(fromBase64("YWI"), EtcdError);
    EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(SyncRecords, FileOfSeveralNodes_IsShared) {
    const Nodes nodes = {{"a", {{"own", "1"}, {"both", "2"}, {"again", "1"}}}, {"b", {{"x", "2"}}}};
    const auto shared = sharedFiles(nodes);
    EXPECT_THAT(shared, ElementsAre(Pair(sha256("2"), "2")));
    const std::string text = nodeText(nodes.at("a"), shared);
    EXPECT_THAT(sharedSums(text), ElementsAre(sha256("2")));
    EXPECT_EQ(parseNode(text, shared), nodes.at("a"));
}

TEST(SyncRecords, SharedFileThatIsMissingOrDamaged_IsRejected) {
    const std::string sum = sha256("2");
    const std::string text = nodeText({{"both", "2"}}, {{sum, "2"}});
    EXPECT_THROW(parseNode(text, {}), EtcdError);
    EXPECT_THROW(parseNode(text, {{sum, "3"}}), EtcdError);
}

TEST(SyncRecords, PathOutsideTheFolder_IsRejected) {
    EXPECT_NO_THROW(parseNode(nodeText({{"a/b.json", ""}}, {}), {}));
    for (const char* path : {"", ".", "..", "/etc/passwd", "../a", "a/../../b", "a/", "./a"}) {
        EXPECT_THROW(parseNode(nodeText({{path, ""}}, {}), {}), EtcdError) << path;
    }
}

TEST(SyncRecords, TextOfAnotherForm_IsRejected) {
    for (const char* text : {"", "[]", "{", R"({"who": 1})"}) {
        EXPECT_THROW(parseInfo(text), EtcdError) << text;
    }
    for (const char* text : {R"({"refused": []})", R"({"refused": {"findings": {}}})"}) {
        EXPECT_THROW(parseStatus(text), EtcdError) << text;
    }
    for (const char* text :
         {R"({"files": []})", R"({"files": {"a": "text"}})", R"({"files": {"a": {}}})",
          R"({"files": {"a": {"text": null}}})", R"({"files": {"a": {"chunks": []}}})"}) {
        EXPECT_THROW(parseNode(text, {}), EtcdError) << text;
    }
}

TEST(SyncRecords, NumberOfAnotherForm_IsZero) {
    for (const char* number : {"18446744073709551615", "1e300", "-1e300", "{}", "null"}) {
        EXPECT_EQ(parseInfo(std::string(R"({"version": )") + number + '}').version, 0) << number;
    }
}

TEST(SyncCommandLine, Mistake_IsReportedWithStatus2) {
    const struct {
        std::vector<std::string> arguments;
        const char* error;
    } rows[] = {
        {{}, "sysconfsync --help shows the usage"},
        {{"publish"}, "DIR is required"},
        {{"publish", "/nowhere/at-all"}, "No such file or directory"},
        {{"status", "--endpoints", "localhost:2379"}, "is not a URL"},
        {{"status", "--user", "root"}, "--password-file"},
        {{"status", "--user", "root", "--password-file", "/nowhere"}, "cannot read"},
        {{"rollback", "0"}, "VERSION"},
        {{"status", "-o", "xml"}, "--output"},
    };
    for (const auto& row : rows) {
        const auto result = support::Command(SYSCONFSYNC, row.arguments).run();
        EXPECT_EQ(result.exitStatus, 2) << row.error;
        EXPECT_THAT(result.errors, HasSubstr(row.error));
    }
}

/// The endpoints of a command line.
std::vector<std::string> endpointsOf(std::vector<const char*> words) {
    words.insert(words.begin(), "sysconfsync");
    return parseSyncCommandLine(static_cast<int>(words.size()), words.data())
        .options.connection.endpoints;
}

TEST(SyncCommandLine, Endpoints_ComeFromTheOptionThenTheVariableThenTheDefault) {
    EXPECT_THAT(endpointsOf({"status"}), ElementsAre("http://127.0.0.1:2379"));
    ::setenv("SYSCONFSYNC_ENDPOINTS", "http://live:1,http://live:2/", 1);
    EXPECT_THAT(endpointsOf({"status"}), ElementsAre("http://live:1", "http://live:2"));
    for (const auto& words : std::vector<std::vector<const char*>>{{"publish", "tree"},
                                                                   {"rollback", "1"},
                                                                   {"fetch", "tree"},
                                                                   {"status"},
                                                                   {"follow", "n"}}) {
        std::vector<const char*> all = words;
        all.insert(all.end(), {"--endpoints", "http://test:1,http://test:2"});
        EXPECT_THAT(endpointsOf(all), ElementsAre("http://test:1", "http://test:2")) << words[0];
    }
}

TEST(SyncCommandLine, OperandAfterTheEndpoints_IsNoEndpoint) {
    EXPECT_THAT(endpointsOf({"publish", "--endpoints", "http://a:1,http://b:1", "tree", "-m", "x"}),
                ElementsAre("http://a:1", "http://b:1"));
}

TEST(SyncManPage, EveryOptionOfTheHelp_IsInTheManualPage) {
    const std::string page = support::readText(SYSCONF_SOURCE_DIRECTORY "/docs/man/sysconfsync.1");
    const std::regex option("--([a-z-]+)");
    std::size_t options = 0;
    for (const char* command : {"publish", "rollback", "fetch", "status"}) {
        const std::string help = support::Command(SYSCONFSYNC, {command, "--help"}).run().output;
        for (auto found = std::sregex_iterator(help.begin(), help.end(), option);
             found != std::sregex_iterator(); ++found) {
            EXPECT_THAT(page, HasSubstr("Fl Fl " + found->str(1))) << command;
            ++options;
        }
    }
    EXPECT_GT(options, 30U);
}

} // namespace
