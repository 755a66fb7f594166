// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/Sanitizers.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <set>

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using Lines = std::vector<std::string>;

Lines completed(std::vector<std::string> words) {
    words.insert(words.begin(), {"__complete", "zsh"});
    const auto result = tool::run(words);
    EXPECT_EQ(result.exitStatus, 0) << testing::PrintToString(words);
    EXPECT_EQ(result.errors, "") << testing::PrintToString(words);
    return tool::linesOf(result.output);
}

Lines completedForBash(const std::string& line) {
    const auto result = tool::run({"__complete", "bash", " \t\n\"'@><=;|&(:", line});
    EXPECT_EQ(result.exitStatus, 0) << line;
    EXPECT_EQ(result.errors, "") << line;
    return tool::linesOf(result.output);
}

support::Deployment smallDeployment() {
    support::Deployment deployment;
    deployment.appConfig(R"({
        "databases": {"or ders": [{"type": "post\tgres"}, {"type": 1}], "-d": [], "x": {}},
        "processes": {"p1": {"nodeId": "n1"}, "p2": {}}})");
    deployment.nodeList(R"({"nodeList": {"n1": {"extAttr": {"hostType": "master"},
        "assignedToTenancy": "e\u001bast", "IPAddresses": [
        {"IP": "192.0.2.1", "usage": ["Northbound2", "service", "bad\u001b", ""]}]}}})");
    deployment.managerNodeList(R"({"nodeList": {"n2": {"assignedToTenancy": "west", "name": "two",
        "number": 2, "IPAddresses": [{"IP": "192.0.2.2", "usage": ["southbound11", "plain"]}]},
        "n3": {"assignedToTenancy": "west"}, "-n": {}, "line\nend": {}, "": {}}})");
    return deployment;
}

TEST(Completion, Values_AreThoseOfBothListsAndTheConfiguration) {
    const auto deployment = smallDeployment();
    EXPECT_THAT(completed({"nodes", ""}),
                ElementsAre(":values", "n1\tthis, of e\\x1bast", "n2\tof west", "n3\tof west"));
    EXPECT_THAT(completed({"get", "local-ip-by-usage", ""}),
                ElementsAre(":values", "northbound2\t", "plain\t", "service\t", "southbound11\t"));
    EXPECT_THAT(completed({"get", "local-node-ips", ""}),
                ElementsAre(":values", "northbound\t", "plain\t", "service\t", "southbound\t"));
    EXPECT_THAT(completed({"explain", "ip-addresses", ""}),
                ElementsAre(":values", "assignedToTenancy\t", "name\t"));
    EXPECT_THAT(completed({"explain", "ip-addresses", "assignedToTenancy", ""}),
                ElementsAre(":values", "west\t"));
    EXPECT_THAT(completed({"explain", "db-info", ""}), ElementsAre(":values", "or ders\t", "x\t"));
    EXPECT_THAT(completed({"explain", "db-type", "or ders", ""}),
                ElementsAre(":values", "0\tpost\\tgres", "1\t"));
    EXPECT_THAT(completed({"explain", "db-type", "x", ""}), IsEmpty());
    EXPECT_THAT(completed({"explain", "db-type", "or ders", "0", ""}), IsEmpty());
    EXPECT_THAT(completed({"nodes", "--tenancy", ""}), ElementsAre(":values", "west\t"));
    EXPECT_THAT(completed({"map", "--missing", ""}),
                ElementsAre(":values", "northbound2\t", "plain\t", "service\t", "southbound11\t"));
    EXPECT_THAT(completed({"nodes", "--role", ""}), ElementsAre(":values", "master\t"));
    EXPECT_THAT(completed({"help", "exp"}), Contains(testing::StartsWith("explain\t")));
    EXPECT_THAT(completed({"help", "explain", ""}), IsEmpty());
    EXPECT_THAT(completed({"-o", "json", "nodes", "--tenancy", ""}),
                ElementsAre(":values", "west\t"));
    EXPECT_THAT(completed({"nodes", "--local-address", ""}),
                ElementsAre(":values", "192.0.2.1\t", "192.0.2.2\t"));
    EXPECT_THAT(completed({"show", "--set", "PROCESS_INSTANCE_ID="}),
                ElementsAre(":values", "PROCESS_INSTANCE_ID=p1\t", "PROCESS_INSTANCE_ID=p2\t"));
}

TEST(Completion, ValuesThatLookLikeOptions_AreOfferedAfterTheEndOfOptionsOnly) {
    const auto deployment = smallDeployment();
    EXPECT_THAT(completed({"nodes", ""}), Not(Contains("-n\t")));
    EXPECT_THAT(completed({"nodes", "--", ""}), Contains("-n\t"));
    EXPECT_THAT(completed({"nodes", "--", "-"}), Contains("-n\t"));
}

TEST(Completion, EnvironmentOfTheLine_IsUsedAsByTheCommand) {
    const auto deployment = smallDeployment();
    const std::string file = tool::kMaster.envFile().string();
    for (const auto& words :
         std::vector<std::vector<std::string>>{{"--env-file", file, "get", "db-type", ""},
                                               {"--env-file=" + file, "get", "db-type", ""},
                                               {"get", "--env-file", file, "db-type", ""}}) {
        EXPECT_THAT(completed(words), ElementsAre(":values", "alarms\t"));
    }
    support::setEnvironment("HOME", tool::samplesDirectory().c_str());
    EXPECT_THAT(completed({"--env-file", "~/ha-pair/master.env", "get", "db-type", ""}),
                ElementsAre(":values", "alarms\t"));
}

TEST(Completion, Options_AreOfferedOnceUnlessTheyMayBeRepeated) {
    EXPECT_THAT(completed({"check", "--strict", "--set", "A=b", "--s"}),
                Not(Contains(testing::StartsWith("--strict\t"))));
    EXPECT_THAT(completed({"check", "--strict", "--set", "A=b", "--s"}),
                Contains(testing::StartsWith("--set\t")));
    EXPECT_THAT(completed({"show", "--"}), Not(Contains(testing::StartsWith("--strict\t"))));
    EXPECT_THAT(completed({"--"}), Contains(testing::StartsWith("--version\t")));
}

TEST(Completion, ValuesOfOptions_AreOfferedAfterThemAndInTheSameWord) {
    EXPECT_THAT(completed({"nodes", "-o", ""}),
                ElementsAre(":values", "table\t", "wide\t", "name\t", "plain\t", "json\t"));
    EXPECT_THAT(completed({"map", "--sort", ""}), IsEmpty());
    EXPECT_THAT(completed({"nodes", "--sort", ""}), Contains("host-tag\t"));
    EXPECT_THAT(completed({"nodes", "-oj"}), Contains("-ojson\t"));
    EXPECT_THAT(completed({"nodes", "--output="}), Contains("--output=json\t"));
    EXPECT_THAT(completed({"--color", ""}),
                ElementsAre(":values", "auto\t", "always\t", "never\t"));
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"--env-file", ""}, {"show", "--env-file=a"}, {"--set", "APP_ROOT=/"}}) {
        EXPECT_THAT(completed(words), ElementsAre(":files")) << testing::PrintToString(words);
    }
}

TEST(Completion, QueriesOfVariables_AreThoseWithoutArguments) {
    const auto hasQuery = [](const char* name) {
        return Contains(testing::StartsWith(std::string(name) + '\t'));
    };
    for (const auto& words :
         std::vector<std::vector<std::string>>{{"exec", "--only", ""},
                                               {"exec", "--only", "local-port", ""},
                                               {"get", "--shell", ""},
                                               {"get", "--systemd", "local-port", ""}}) {
        EXPECT_THAT(completed(words), hasQuery("wss-port")) << testing::PrintToString(words);
        EXPECT_THAT(completed(words), Not(hasQuery("db-type"))) << testing::PrintToString(words);
    }
}

TEST(Completion, ProgramOfExec_IsAFileAfterTheEndOfOptions) {
    EXPECT_THAT(completed({"exec", ""}), IsEmpty());
    EXPECT_THAT(completed({"exec", "--", ""}), ElementsAre(":files"));
    EXPECT_THAT(completed({"exec", "--", "env", "-"}), ElementsAre(":files"));
    EXPECT_THAT(completed({"exec", "--on-change", ""}),
                AllOf(Contains("restart\t"), Contains("none\t"), Contains("HUP\t")));
}

TEST(Completion, Bash_GetsQuotedTexts) {
    const auto deployment = smallDeployment();
    EXPECT_THAT(completedForBash("sysconfctl exp"), ElementsAre(":values", "explain"));
    EXPECT_THAT(completedForBash("sysconfctl get db-info o"), ElementsAre(":values", "or\\ ders"));
    EXPECT_THAT(completedForBash("sysconfctl get db-info 'or d"),
                ElementsAre(":values", "or ders"));
    EXPECT_THAT(completedForBash("sysconfctl get db-type or\\ ders "),
                ElementsAre(":values", "0", "1"));
    EXPECT_THAT(completedForBash("sysconfctl nodes --output=js"), ElementsAre(":values", "json"));
    EXPECT_THAT(completedForBash("sysconfctl nodes 2>x n1 n"),
                ElementsAre(":values", "n1", "n2", "n3"));
    EXPECT_THAT(completedForBash("sysconfctl nodes > "), ElementsAre(":files"));
}

TEST(Completion, NothingToComplete_IsSilence) {
    for (const auto& words :
         std::vector<std::vector<std::string>>{{"frobnicate", ""},
                                               {"show", ""},
                                               {"nodes", ""},
                                               {"get", "x", ""},
                                               {"get", "db-type", ""},
                                               {"--env-file", "/nowhere", "nodes", ""},
                                               {"--set", "x", "nodes", ""}}) {
        EXPECT_THAT(completed(words), IsEmpty()) << testing::PrintToString(words);
    }
    for (const auto& arguments :
         std::vector<std::vector<std::string>>{{"__complete"},
                                               {"__complete", "tcsh", ""},
                                               {"__complete", "bash"},
                                               {"__complete", "bash", "", ""},
                                               {"__complete", "zsh"}}) {
        const auto result = tool::run(arguments);
        EXPECT_EQ(result.exitStatus, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output + result.errors, "") << testing::PrintToString(arguments);
    }
}

TEST(Completion, LostOutput_IsSilentToo) {
    const auto result = tool::sysconfctl({"__complete", "zsh", ""}).outputToFile("/dev/full").run();
    EXPECT_EQ(result.exitStatus, 70);
    EXPECT_EQ(result.errors, "");
}

TEST(Completion, ItsCommand_IsNotForPeople) {
    EXPECT_THAT(tool::run({"--help"}).output, Not(HasSubstr("__complete")));
    EXPECT_THAT(completed({""}), Not(Contains(HasSubstr("__complete"))));
}

// A sanitizer cannot run under strace.
#ifndef SANITIZED
TEST(Completion, Values_ReadOnlyTheFilesThatHaveThem) {
    struct Row {
        Lines words;
        std::set<std::string> files;
    };
    auto deployment = smallDeployment();
    const std::filesystem::path log = support::testDirectory() / "opened.log";
    const std::set<std::string> lists = {"nodelist.json", "nodelists.json"};
    for (const Row& row : std::vector<Row>{{{"show", "--out"}, {}},
                                           {{"get", ""}, {}},
                                           {{"get", "db-type", ""}, {"app"}},
                                           {{"get", "db-type", "or ders", ""}, {"app"}},
                                           {{"show", "--set", "PROCESS_INSTANCE_ID="}, {"app"}},
                                           {{"get", "local-ip-by-usage", ""}, lists},
                                           {{"nodes", "--local-address", ""}, lists},
                                           {{"get", "ip-addresses", ""}, {"nodelists.json"}}}) {
        Lines words = {"-f", "-o", log.string(), "-e", "trace=?open,openat", SYSCONFCTL};
        words.insert(words.end(), {"__complete", "fish"});
        words.insert(words.end(), row.words.begin(), row.words.end());
        const auto result = support::Command("/usr/bin/strace", words).run();
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        EXPECT_THAT(result.output, HasSubstr(":values"));
        const std::string opened = tool::readFile(log);
        std::set<std::string> files;
        for (const std::string& name : lists) {
            if (opened.find('/' + name + '"') != std::string::npos) {
                files.insert(name);
            }
        }
        // NOLINTNEXTLINE(concurrency-mt-unsafe): there is only one thread.
        const std::string appConfig = std::getenv("APP_CONF_FILE");
        if (opened.find('"' + appConfig + '"') != std::string::npos) {
            files.insert("app");
        }
        EXPECT_EQ(files, row.files) << testing::PrintToString(row.words);
    }
}
#endif

} // namespace
