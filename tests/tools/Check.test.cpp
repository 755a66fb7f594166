// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/Sanitizers.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <map>

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Le;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

TEST(Check, Samples_HaveNoErrors) {
    for (const tool::View& view : tool::views()) {
        const auto result = tool::run(view, {"check", "--local-address", "127.0.0.1"});
        EXPECT_EQ(result.exitStatus, 0) << view.name << result.output;
        EXPECT_EQ(result.errors, "");
        EXPECT_THAT(result.output, StartsWith("no problem found in 3 files: "));
        EXPECT_EQ(tool::run(view, {"check", "--strict", "--local-address", "127.0.0.1"}).exitStatus,
                  0);
    }
}

TEST(Check, OfASample_EqualsTheGoldenFile) {
    for (const auto& [format, name] :
         std::vector<std::pair<std::string, std::string>>{{"table", "check-west-data-2.table.txt"},
                                                          {"plain", "check-west-data-2.txt"},
                                                          {"json", "check-west-data-2.json"}}) {
        const auto result =
            tool::sysconfctl({"check", "--notes", "-o", format, "--set",
                              "APP_CONF_FILE=west-data-2/etc/app.json", "--set",
                              "APP_ROOT=west-data-2", "--set", "TOLM_ROOT=manager", "--set",
                              "PROCESS_INSTANCE_ID=store-1", "--local-address", "192.0.2.204"})
                .workingDirectory(tool::samplesDirectory() / "two-tenancies")
                .run();
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.output,
                  tool::readFile(tool::sourceDirectory() / "tests/tools/golden" / name));
    }
}

constexpr const char* kApp = R"({"databases": {},
"processes": {"p1": {"nodeId": "n", "IR": {"ip": "192.0.2.1"},
"local": {"ip": "127.0.0.1", "port": 1}, "wss": {"ip": "192.0.2.1", "port": 2},
"CORBA": {"port": 3}, "CORBA_SSL": {"port": 4}}}})";
constexpr const char* kList = R"({"nodeList": {"n": {"assignedToTenancy": "t",
"extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master", "HOSTID": "h"},
"IPAddresses": [{"IP": "192.0.2.1", "usage": ["maintenance"]},
{"IP": "192.0.2.2", "usage": ["service"]}]},
"s": {"assignedToTenancy": "t", "extAttr": {"hostType": "standby",
"domain_node_type": "ACCESS_Backup"}, "IPAddresses": [{"IP": "192.0.2.3",
"usage": ["service", "maintenance"]}]}}})";

struct Row {
    std::string name;
    std::string severity;
    /// 'a' app config, 'n' node list, 'm' manager node list, 'b' both lists.
    char file;
    std::string before;
    std::string after;
    /// "line:column"; "" for a finding without a place.
    std::string place;
    std::string text;
};

std::string replaced(std::string text, const std::string& before, const std::string& after) {
    const std::size_t at = text.find(before);
    EXPECT_NE(at, std::string::npos) << before;
    return at == std::string::npos ? text : text.replace(at, before.size(), after);
}

void write(support::Deployment& deployment, const Row& row) {
    const auto in = [&](char file, const char* text) {
        const bool both = row.file == 'b' && file != 'a';
        return row.file == file || both ? replaced(text, row.before, row.after) : std::string(text);
    };
    deployment.appConfig(in('a', kApp));
    deployment.nodeList(in('n', kList));
    deployment.managerNodeList(in('m', kList));
}

const std::vector<Row> kRows = {
    {"syntax", "error", 'a', R"("CORBA_SSL": {"port": 4}})", R"("CORBA_SSL": {"port": 4},})",
     "4:48", "the file does not load"},
    {"syntax", "error", 'n', "\"h\"}", "\"h\"} // host", "2:87", "a comment is not allowed here"},
    {"syntax", "error", 'm', "}]}}}", "}]}}}}", "7:41", "text after the end of the document"},
    {"wrong-type", "error", 'a', R"("port": 2)", R"("port": "2")", "3:77", "the load stops here"},
    {"wrong-type", "error", 'a', R"({"port": 3})", "[3]", "4:10", "is an array where an object"},
    {"wrong-type", "error", 'a', R"("databases": {})", R"("databases": [])", "1:15", "stops here"},
    {"null", "error", 'a', R"({"port": 3})", "null", "4:10", "\"CORBA\" is null"},
    {"database-no-list", "error", 'a', "{},\n", "{\"d\": {}},\n", "1:21",
     "where a list of entries"},
    {"wrong-type", "error", 'a', "{},\n", "{\"d\": [5]},\n", "1:22", "this entry is a number"},
    {"wrong-type", "error", 'a', "{},\n",
     "{\"d\": [{\"type\": \"sqlite\", \"accessPort\": \"5\"}]},\n", "1:55", "its query throws"},
    {"absent", "error", 'a', "{},\n",
     "{\"d\": [{\"type\": \"x\", \"accessHost\": \"db\", \"accessPort\": 5}]},\n", "1:22",
     "the database has no \"user\""},
    {"not-an-address", "error", 'a', "{},\n",
     "{\"d\": [{\"type\": \"sqlite\", \"accessHost\": \"192.0.2.x\"}]},\n", "1:55",
     "is neither an address nor a host name"},
    {"no-instance", "error", 'a', "\"p1\"", "\"p2\"", "2:15", "there is no process \"p1\""},
    {"null", "error", 'a', "\"processes\": {", "\"processes\": {\"p0\": null, ", "2:21",
     "process \"p0\" is null"},
    {"unknown-member", "error", 'a', "\"CORBA_SSL\"", "\"CORBA_SLL\"", "4:23",
     "\"CORBA_SLL\" is not read"},
    {"absent", "note", 'a', R"("CORBA": {"port": 3}, )", "", "2:15", "has no \"CORBA\""},
    {"port-range", "error", 'a', R"("port": 4)", R"("port": 70000)", "4:45", "70000 is out of"},
    {"equal-ports", "error", 'a', R"("port": 4)", R"("port": 3)", "4:45", "CORBA/port"},
    {"odd-type", "error", 'a', R"("port": 4)", R"("port": true)", "4:45", "reads as 1"},
    {"not-an-address", "error", 'a', "127.0.0.1", "127.0.0.256", "3:17", "is not an IPv4 or IPv6"},
    {"unspecified-address", "error", 'a', "\"wss\": {\"ip\": \"192.0.2.1\"",
     "\"wss\": {\"ip\": \"0.0.0.0\"", "3:56", "nothing can reach it"},
    {"hidden-character", "error", 'a', "\"nodeId\": \"n\"", "\"nodeId\": \"n \"", "2:32",
     "a trailing blank"},
    {"foreign-node", "error", 'a', "\"nodeId\": \"n\"", "\"nodeId\": \"s\"", "2:32",
     "192.0.2.1 is an address of node \"n\""},
    {"foreign-address", "warning", 'a', "\"IR\": {\"ip\": \"192.0.2.1\"",
     "\"IR\": {\"ip\": \"192.0.2.99\"", "2:50", "is not an address of node \"n\""},
    {"repeated-member", "error", 'a', R"("port": 4)", R"("port": 5, "port": 4)", "4:37",
     "repeated at line 4, column 48"},
    {"repeated-member", "warning", 'a', R"("port": 4)", R"("port": 4, "port": 4)", "4:37",
     "repeated at line 4, column 48"},
    {"no-own-node", "error", 'a', R"("nodeId": "n")", R"("nodeId": "N")", "2:32",
     "runs on node \"N\", which the node list does not have"},
    {"no-own-node", "error", 'b', R"({"n": )", R"({"nn": )", "2:32", "runs on node \"n\""},
    {"not-in-manager-list", "error", 'n', R"({"n": )", R"({"nn": )", "1:15",
     "node \"nn\" is \"n\" in the manager node list"},
    {"not-in-manager-list", "error", 'm', "\"s\": {", "\"x\": {", "5:1",
     "node \"s\" is \"x\" in the manager node list"},
    {"wrong-type", "error", 'n', R"({"nodeList": {"n")", R"({"nodeList": [], "x": {"n")", "1:14",
     "no node is found"},
    {"wrong-type", "error", 'n', "[\"service\"]", "[[]]", "4:31", "where a text is read"},
    {"wrong-type", "error", 'm', "[\"service\"]", "[[]]", "4:31", "have no answer"},
    {"usage-no-list", "error", 'n', "[\"service\"]", "\"service\"", "4:30", "matches nothing"},
    {"usage-no-list", "error", 'm', "[\"service\"]", "\"service\"", "4:30", "matches nothing"},
    {"role-name", "error", 'b', "\"master\"", "\"Master\"", "2:25", "unknown hostType"},
    {"role-name", "error", 'b', "\"standby\"", "\"stanby\"", "5:57", "hostType \"stanby\""},
    {"role-name", "error", 'b', "ACCESS_Backup", "ACCESS_BACKUP", "6:21", "domain_node_type"},
    {"role-mismatch", "error", 'b', "\"hostType\": \"master\"", "\"hostType\": \"standby\"", "2:25",
     "does not match"},
    {"southbound-number", "error", 'b', "\"service\"]}]}", "\"southbound1\"]}]}", "4:31",
     "names no southbound slot"},
    {"southbound-number", "error", 'b', "\"service\"]}]}", "\"southbound1025\"]}]}", "4:31",
     "names no southbound slot"},
    {"northbound-number", "warning", 'b', "\"service\"]}]}", "\"northbound4294967298\"]}]}", "4:31",
     "is read as northbound number 2"},
    {"same-slot", "warning", 'b',
     "[\"maintenance\"]},\n{\"IP\": \"192.0.2.2\", \"usage\": [\"service\"]}",
     "[\"maintenance\", \"southbound\"]},\n{\"IP\": \"192.0.2.2\", \"usage\": [\"Southbound\"]}",
     "4:31", "the last one wins"},
    {"same-slot", "warning", 'b',
     "[\"maintenance\"]},\n{\"IP\": \"192.0.2.2\", \"usage\": [\"service\"]}",
     "[\"maintenance\", \"northbound2\"]},\n{\"IP\": \"192.0.2.2\", \"usage\": [\"Northbound2\"]}",
     "4:31", "the first one wins"},
    {"same-slot", "warning", 'b', "\"service\"]}]}", "\"maintenance\"]}]}", "4:31", "maintenance"},
    {"unknown-tag", "warning", 'b', "\"service\"]}]}", "\"servise\"]}]}", "4:31",
     "asks for the tag \"servise\""},
    {"hidden-character", "error", 'b', "\"service\"]}]}", "\"serv\\u200bice\"]}]}", "4:31",
     "an invisible character (U+200B)"},
    {"no-tags", "warning", 'b', ", \"usage\": [\"service\"]}]}", "}]}", "4:1", "has no tags"},
    {"no-address", "error", 'b', "\"IP\": \"192.0.2.2\", ", "", "4:1", "has no \"IP\""},
    {"not-an-address", "error", 'b', "192.0.2.2", "192.0.2", "4:8", "\"192.0.2\" is not an IPv4"},
    {"unspecified-address", "error", 'b', "192.0.2.2", "0.0.0.0", "4:8", "nothing can reach it"},
    {"same-address", "error", 'b', "192.0.2.3", "192.0.2.1", "6:62",
     "nodes \"n\" and \"s\" have the same address 192.0.2.1 for maintenance"},
    {"no-addresses", "error", 'b',
     "[{\"IP\": \"192.0.2.3\",\n\"usage\": [\"service\", \"maintenance\"]}]", "[]", "6:54",
     "has no addresses"},
    {"empty-id", "error", 'b', "\"s\": ", "\"\": ", "5:1", "this node has no id"},
    {"tenancy-mismatch", "error", 'n', "\"t\"", "\"T\"", "1:42", "\"t\" in the manager"},
    {"list-mismatch", "error", 'n', "\"h\"", "\"H\"", "2:82", "\"HOSTID\" of node"},
    {"list-mismatch", "error", 'n', "192.0.2.3", "192.0.2.4", "6:62",
     "is 192.0.2.4 in the node list, but 192.0.2.3 in the manager node list"},
    {"list-mismatch", "error", 'm', "\"192.0.2.1\"", "\"192.0.2.9\"", "3:24",
     "is 192.0.2.9 in the manager node list, but 192.0.2.1 in the node list"},
    {"no-master", "error", 'b', "ACCESS_Master", "DATA", "5:1", "has a standby, but no master"},
    {"several-masters", "error", 'b', "\"standby\",\n\"domain_node_type\": \"ACCESS_Backup\"",
     "\"master\",\n\"domain_node_type\": \"ACCESS_Master\"", "5:57", "n, s; the last one wins"},
    {"no-nodes", "error", 'n', "\"nodeList\": {\"n\"", "\"nodeList\": {}, \"x\": {\"n\"", "1:2",
     "the list has no nodes"},
    {"unknown-member", "error", 'b', "\"IPAddresses\"", "\"IPAdresses\"", "3:1",
     "\"IPAdresses\" is not read"},
    {"no-internal", "error", 'b', ", \"maintenance\"]}", "]}", "6:39", "nor a maintenance address"},
    {"no-service", "note", 'b', "\"service\"]}]}", "\"service2\"]}]}", "3:1",
     "has no service address"},
    {"absent", "note", 'b', ", \"HOSTID\": \"h\"", "", "2:1", "has no host tag"},
};

TEST(Check, CleanDeployment_HasNoFinding) {
    support::Deployment deployment;
    deployment.appConfig(kApp).nodeList(kList).managerNodeList(kList);
    const auto result = tool::run({"check", "--strict"});
    EXPECT_EQ(result.output, "no problem found in 3 files: 1 process, 2 nodes; 1 note (--notes)\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST(Check, EachMistake_IsFoundAtItsPlace) {
    support::Deployment deployment;
    for (const Row& row : kRows) {
        write(deployment, row);
        const auto result =
            tool::run({"check", "-o", "json", "--strict", "--local-address", "192.0.2.77"});
        const Json::Value found = tool::parsed(result.output)["findings"];
        bool reported = false;
        bool errors = false;
        std::map<std::string, int> serious; // errors and warnings of each file
        if (row.severity != "note") {
            serious[""] = 1;
        }
        for (const Json::Value& finding : found) {
            const std::string place =
                finding["line"].asString() + ":" + finding["column"].asString();
            reported = reported || (finding["name"] == row.name &&
                                    finding["severity"] == row.severity && place == row.place &&
                                    finding["text"].asString().find(row.text) != std::string::npos);
            errors = errors || finding["severity"] == "error";
            if (finding["severity"] != "note") {
                ++serious[finding["file"].asString()];
            }
        }
        EXPECT_TRUE(reported) << row.name << " for " << row.after << '\n' << result.output;
        for (const auto& [file, findings] : serious) {
            EXPECT_EQ(findings, 1) << row.name << " for " << row.after << '\n' << result.output;
        }
        EXPECT_EQ(result.exitStatus, errors ? 3 : serious.empty() ? 0 : 4) << row.name;
        const auto lenient = tool::run({"check", "--local-address", "192.0.2.77"});
        EXPECT_EQ(lenient.exitStatus, errors ? 3 : 0) << row.name << " for " << row.after;
    }
}

TEST(Check, TagsInAnyCase_AreFine) {
    support::Deployment deployment;
    const std::string list = replaced(kList, "[\"service\"]", "[\"SerVice\"]");
    deployment.appConfig(kApp).nodeList(list).managerNodeList(list);
    EXPECT_THAT(tool::run({"check"}).output, StartsWith("no problem found in "));
}

TEST(Check, SeveralSources_AreReportedForGivenAddresses) {
    support::Deployment deployment;
    const std::string list =
        replaced(replaced(replaced(kList, "\"hostType\": \"master\"", "\"hostType\": \"standby\""),
                          "ACCESS_Master", "DATA_Backup"),
                 "{\"nodeList\": {",
                 "{\"nodeList\": {\"a\": {\"IPAddresses\": [{\"IP\": \"192.0.2.8\", \"usage\": "
                 "[\"service\"]}]}, \"b\": {\"IPAddresses\": [{\"IP\": \"192.0.2.9\", \"usage\": "
                 "[\"service\"]}]}, ");
    deployment.appConfig(kApp).nodeList(list).managerNodeList(list);
    EXPECT_THAT(tool::run({"check", "-o", "plain", "--local-address", "192.0.2.8",
                           "--local-address", "192.0.2.9"})
                    .output,
                HasSubstr("could stand in for a, b: it does so for the first one"));
    EXPECT_THAT(tool::run({"check", "-o", "plain", "--local-address", "192.0.2.9"}).output,
                AllOf(Not(HasSubstr("stand in for")), Not(HasSubstr("stands in for"))));
}

TEST(Check, MissingFiles_AreErrorsExceptAnUnsetManagerNodeList) {
    support::Deployment deployment;
    const auto result = tool::run({"check", "-o", "plain"});
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(tool::linesOf(result.output).size(), 3U) << result.output;
    EXPECT_THAT(tool::linesOf(result.output), Each(HasSubstr("environment: error: the ")));
    deployment.appConfig(kApp).nodeList(kList);
    support::setEnvironment("TOLM_ROOT", nullptr);
    EXPECT_THAT(tool::run({"check", "--notes", "-o", "plain"}).output,
                HasSubstr("environment: note: TOLM_ROOT is not set"));
    EXPECT_EQ(tool::run({"check", "--strict"}).exitStatus, 0);
}

TEST(Check, CaretsOfAnExcerpt_AreUnderThePlace) {
    support::Deployment deployment;
    deployment.appConfig(kApp).nodeList(kList).managerNodeList(kList);
    deployment.nodeList(replaced(kList, "\"192.0.2.3\"", "\"\xe4\xb8\xad\"},\t{\"IP\": \"x y\""));
    const auto result = tool::sysconfctl({"check"}).variable("COLUMNS", "200").run();
    EXPECT_THAT(result.output,
                HasSubstr("  \"domain_node_type\": \"ACCESS_Backup\"}, \"IPAddresses\": [{\"IP\": "
                          "\"\xe4\xb8\xad\"}, {\"IP\": \"x y\",\n"));
    EXPECT_THAT(result.output, HasSubstr("\n" + std::string(77, ' ') + "^^^^^\n"));
}

std::string listOfOneLine(const std::string& lastUsage) {
    std::string text = R"({"nodeList":{)";
    for (int n = 0; n < 2000; ++n) {
        text +=
            "\"n" + std::to_string(n) + R"(":{"IPAddresses":[{"IP":"192.0.2.1","usage":["x"]}]},)";
    }
    return text + R"("z":{"IPAddresses":[{"IP":"192.0.2.9","usage":)" + lastUsage + "}]}}}";
}

TEST(Check, FileOfOneLongLine_IsExcerptedNearThePlace) {
    support::Deployment deployment;
    deployment.appConfig(kApp).managerNodeList(kList);
    deployment.nodeList(listOfOneLine("\"service\""));
    const auto result = tool::sysconfctl({"check"}).variable("COLUMNS", "80").run();
    EXPECT_THAT(result.output, HasSubstr(R"([{"IP":"192.0.2.9","usage":"service"}]}}})"
                                         "\n"));

    deployment.nodeList(listOfOneLine("service"));
    const auto refused = tool::sysconfctl({"check"}).variable("COLUMNS", "80").run();
    EXPECT_THAT(refused.output, HasSubstr(R"([{"IP":"192.0.2.9","usage":service}]}}})"
                                          "\n"));
}

const std::vector<std::string> kSecretTexts = {
    R"({"databases": {"d": [{"passwd": ["hush-hush"]}]}})",
    R"({"databases": {"d": [{"passwd": 5, "user": {"pwd": "hush-hush"}}]}})",
    R"({"databases": {"d": [{"type": [], "passwd": "hush-hush"}]}})",
    R"({"databases": {"d": {"passwd": "hush-hush"}}})",
    R"({"databases": {"d": [{"passwd": "hush-hush}]}})",
    R"({"databases": {"d": [{"passwd": "hush"-hush"}]}})",
    R"({"databases": {"d": [{"passwd: "hush-hush"}]}})",
    R"({"databases": {"d": [{passwd": "hush-hush"}]}})",
    R"({"databases": {"d": [{"user": "x" "passwd": "hush-hush"}]}})",
    R"({"databases": {"d": [{"user": x, "p\u0061sswd": "hush-hush"}]}})",
    "{\"databases\": {\"d\": [{\"passwd\":\n \"hush-hush\n}]}}",
    "{\"databases\": {\"d\": [{\"passwd\":\n\n \"hush\"-hush\"\n}]}}",
    "{\"databases\": {\"d\": [{\"passwd\"\n : \"hush-hush\\q\"\n}]}}",
    R"({"databases": {"d": [{"passwd": "hush-hush", "passwd": "hush-hush"}]}, "processes": []})",
    R"({"databases": {"d": [{"paswd": "hush-hush", "type": []}]}})",
    R"({"databases": {"d": [{"token": {"hush": "hush"}, "type": []}]}})",
    R"({"databases": {"d": [{"accessHost": "db://me:hush-hush@host"}]}})",
    R"({"databases": {"d": "hush-hush"}})",
    R"({"databases": ["hush-hush"]})",
    R"({"database": {"d": [{"pw": "hush-hush"}]}})",
    R"({"databases": {"d": [{"pw": "hush-hush" "type": "x"}]}})",
    R"({"databases": {"d": [{"type": "x" "pw": "hush-hush"}]}})",
    R"({"databases": {"d": [{"type": "x, "pw": "hush-hush"}]}})",
    R"({"databases": {"d": [{"pw": "hush"-hush"}]}})",
    R"({"databases": {"d": [{"pw": "hush-hush}]}})",
    R"({"databases": {"d": [{"pw": hush-hush}]}})",
    R"({"processes": {"p1": {"nodeId": n}}, "databases": {"d": [{"pw": "hush-hush"}]}})",
    R"({"databases": {}}, "d": [{"pw": "hush-hush"}]})",
    R"(["hush-hush" "hush"])",
};

TEST(Check, Passwords_AreMaskedInEveryExcerptUnlessRevealed) {
    support::Deployment deployment;
    int revealed = 0;
    for (const std::string& text : kSecretTexts) {
        deployment.appConfig(text);
        for (const char* format : {"table", "plain", "json"}) {
            const auto result = tool::run({"check", "-o", format});
            EXPECT_EQ(result.exitStatus, 3);
            EXPECT_THAT(result.output, Not(HasSubstr("hush"))) << text;
        }
        const auto open = tool::run({"check", "--reveal-secrets"});
        revealed += open.output.find("hush") != std::string::npos ? 1 : 0;
    }
    EXPECT_GE(revealed, 10);
}

TEST(Check, Output_IsNoWiderThanTheTerminalAndEscaped) {
    support::Deployment deployment;
    deployment.appConfig("{\"processes\": {\"p1\": {\"nodeId\": \"\x1b[31m\"}}}")
        .nodeList(replaced(kList, "\"192.0.2.3\"",
                           "\"\\u001b[2J\xc2\x9b\xe4\xb8\xad a long text that "
                           "is far too long to fit into any line\""));
    for (const unsigned short columns : std::initializer_list<unsigned short>{40, 80}) {
        const auto result =
            tool::sysconfctl({"check", "--color", "never"}).outputToTerminal(columns).run();
        EXPECT_THAT(result.output, AllOf(Not(HasSubstr("\033")), Not(HasSubstr("\xc2\x9b"))));
        EXPECT_THAT(tool::linesOf(result.output),
                    Each(SizeIs(Le(columns + 2U)))); // a wide character
    }
    EXPECT_THAT(tool::sysconfctl({"check"}).outputToTerminal(80).run().output,
                HasSubstr("\033[1;31merror:\033[0m"));
    EXPECT_THAT(tool::run({"check"}).output, Not(HasSubstr("\033")));
}

// Sanitizers also write files and pipes.
#ifndef SANITIZED
TEST(Check, Run_WritesNothingButItsOutput) {
    support::Deployment deployment;
    write(deployment, kRows.front());
    const std::filesystem::path log = support::testDirectory() / "calls.log";
    support::Command command(
        "/usr/bin/strace",
        {"-f", "-o", log.string(), "-e",
         "trace=?open,openat,?creat,write,pwrite64,writev,pwritev,sendto,sendmsg,"
         "?rename,?renameat,renameat2,?unlink,unlinkat,?mkdir,mkdirat,truncate,"
         "ftruncate,?link,linkat,?symlink,symlinkat,?chmod,fchmod,fchmodat,"
         "?chown,fchown,fchownat,utimensat,?mknod,mknodat,fallocate,execve",
         SYSCONFCTL, "check"});
    const auto result = command.run();
    ASSERT_EQ(result.exitStatus, 3) << result.errors;
    std::size_t opened = 0;
    for (const std::string& line : tool::linesOf(tool::readFile(log))) {
        if (line.find("open") != std::string::npos) {
            EXPECT_THAT(line, AllOf(Not(HasSubstr("O_WRONLY")), Not(HasSubstr("O_RDWR")),
                                    Not(HasSubstr("O_CREAT"))));
            ++opened;
        } else if (line.find("+++") == std::string::npos && line.find("---") == std::string::npos) {
            EXPECT_THAT(line, ::testing::ContainsRegex(
                                  " (write\\(1,|write\\(2,|execve\\(|sendto\\([0-9]+, .*NETLINK|"
                                  "sendto\\([0-9]+, \\[)"));
        }
    }
    EXPECT_GT(opened, 3U);
}
#endif

} // namespace
