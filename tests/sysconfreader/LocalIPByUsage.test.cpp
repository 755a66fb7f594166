// SPDX-License-Identifier: Apache-2.0
#include "OwnNode.h"
#include "support/HostAddresses.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace std::string_literals;

namespace {

using Quarncommon::SysConfReader;

struct UsageRow {
    const char* name;
    std::string addresses;
    std::string usage;
    std::string expected;
};

TEST(LocalIPByUsage, EachNodeList_FirstTaggedEntryDecides) {
    const UsageRow rows[] = {
        {"one entry", entries("A=service"), "service", "A"},
        {"first of two", entries("A=service,B=service"), "service", "A"},
        {"capitals first", entries("A=Maintenance,B=maintenance"), "maintenance", "A"},
        {"capitals in the request", entries("A=service"), "SERVICE", "A"},
        {"capitals in both", entries("A=sErViCe"), "SeRvIcE", "A"},
        {"second tag", entries("A=x|service"), "service", "A"},
        {"beginning of a tag", entries("A=service"), "serv", ""},
        {"end of a tag", entries("A=internal_service"), "service", ""},
        {"tag and more", entries("A=service"), "service2", ""},
        {"unknown tag", entries("A=service"), "x", ""},
        {"any tag that a caller makes up", entries("A=my own tag"), "My Own Tag", "A"},
        {"empty tag in the list", entries("A=x,B="), "", "B"},
        {"no empty tag", entries("A=x"), "", ""},
        {"plain string", R"({"IP":"A","usage":"service"})", "service", ""},
        {"plain string before an array", R"({"IP":"A","usage":"service"},)" + entries("B=service"),
         "service", "B"},
        {"first without IP", R"({"usage":["service"]},)" + entries("B=service"), "service", ""},
        {"first with null IP", R"({"IP":null,"usage":["service"]},)" + entries("B=service"),
         "service", ""},
        {"first with empty IP", entries("=service,B=service"), "service", ""},
        {"entry without usage", R"({"IP":"A"},)" + entries("B=service"), "service", "B"},
        {"quote in a tag", entries(R"(A=se\"rv)"), "SE\"RV", "A"},
        {"NUL in a tag", entries(R"(A=a\u0000B)"), "A\0b"s, "A"},
        {"NUL ends nothing", entries(R"(A=service\u0000)"), "service", ""},
        {"tag not in ASCII", entries("A=m\xC3\xA4rz"), "M\xC3\xA4RZ", "A"},
        {"address is any text", entries(R"(a\u0000\"b=x)"), "x", "a\0\"b"s},
        {"null entry", "null," + entries("B=x"), "x", "B"},
        {"number as IP", R"({"IP":5,"usage":["x"]})", "x", "5"},
        {"number as tag", R"({"IP":"A","usage":[5]})", "5", "A"},
        {"null as tag", R"({"IP":"A","usage":[null]})", "", "A"},
        {"wrong IP after the answer", entries("A=x") + R"(,{"IP":[1],"usage":["x"]})", "x", "A"},
        {"wrong IP of another tag", R"({"IP":[1],"usage":["w"]},)" + entries("B=x"), "x", "B"},
        {"no entries", "", "service", ""},
    };
    OwnNode node;
    for (const UsageRow& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(node.reader().getLocalIPByUsage(row.usage), row.expected) << row.name;
    }
}

TEST(LocalIPByUsage, WrongTypeBeforeTheAnswer_AnswersEmpty) {
    const char* const lists[] = {
        "[]",
        "7",
        R"("text")",
        R"({"nodeList":[]})",
        R"({"nodeList":[{}]})",
        R"({"nodeList":"x"})",
        R"({"nodeList":{"n1":[]}})",
        R"({"nodeList":{"n1":"x"}})",
        R"({"nodeList":{"n1":{"IPAddresses":{"a":{"IP":"A","usage":["service"]}}}}})",
        R"({"nodeList":{"n1":{"IPAddresses":[7,{"IP":"A","usage":["service"]}]}}})",
        R"({"nodeList":{"n1":{"IPAddresses":["x",{"IP":"A","usage":["service"]}]}}})",
        R"({"nodeList":{"n1":{"IPAddresses":[{"IP":"B","usage":[[]]},
                                             {"IP":"A","usage":["service"]}]}}})",
        R"({"nodeList":{"n1":{"IPAddresses":[{"IP":"A","usage":{"0":"service"}}]}}})",
        R"({"nodeList":{"n1":{"IPAddresses":[{"IP":{},"usage":["service"]}]}}})",
        R"({"nodeList":{"n1":{"IPAddresses":[{"IP":[],"usage":["service"]}]}}})",
    };
    OwnNode node;
    for (const char* list : lists) {
        node.files.nodeList(list);
        EXPECT_EQ(node.reader().getLocalIPByUsage("service"), "") << list;
        EXPECT_EQ(node.reader().getLocalService2IP(), "") << list;
        EXPECT_EQ(node.reader().getLocalMaintenanceIP(), "") << list;
        EXPECT_EQ(node.reader().getLocalServiceIP(), "M") << list;
    }
}

TEST(LocalIPByUsage, WrongTypeAfterTheAnswer_IsIgnored) {
    OwnNode node;
    node.addresses(entries("A=service") + ",7");
    EXPECT_EQ(node.reader().getLocalIPByUsage("service"), "A");
    EXPECT_EQ(node.reader().getLocalIPByUsage("x"), "");
}

TEST(LocalIPByUsage, AbsentLevels_AnswerEmpty) {
    OwnNode node;
    for (const char* list :
         {"null", "{}", R"({"nodeList":null})", R"({"nodeList":{}})", R"({"nodeList":{"N1":{}}})",
          R"({"nodeList":{"n1":null}})", R"({"nodeList":{"n1":{}}})",
          R"({"nodeList":{"n1":{"IPAddresses":null}}})",
          R"({"nodeList":{"n1":{"IPAddresses":[]}}})",
          R"({"nodeList":{"n1":{"IPAddresses":[null]}}})",
          R"({"nodeList":{"n1":{"IPAddresses":"x"}}})"}) {
        node.files.nodeList(list);
        EXPECT_EQ(node.reader().getLocalIPByUsage("service"), "") << list;
        EXPECT_EQ(node.reader().getLocalServiceIP(), "M") << list;
    }
}

TEST(LocalIPByUsage, ListAbsent_OnlyTheServiceAddressFallsBack) {
    OwnNode node;
    EXPECT_EQ(node.reader().getLocalIPByUsage("service"), "");
    EXPECT_EQ(node.reader().getLocalMaintenanceIP(), "");
    EXPECT_EQ(node.reader().getLocalService2IP(), "");
    EXPECT_EQ(node.reader().getLocalServiceIP(), "M");
}

TEST(LocalIPByUsage, EntryWithBothServiceTags_AnswersBoth) {
    OwnNode node;
    node.addresses(entries("A=service|service2"));
    EXPECT_EQ(node.reader().getLocalServiceIP(), "A");
    EXPECT_EQ(node.reader().getLocalService2IP(), "A");
}

TEST(LocalIPByUsage, FirstServiceEntryWithoutIP_OnlyTheNamedQueryFallsBack) {
    OwnNode node;
    node.addresses(R"({"usage":["service"]},)" + entries("B=service"));
    EXPECT_EQ(node.reader().getLocalIPByUsage("service"), "");
    EXPECT_EQ(node.reader().getLocalServiceIP(), "M");
}

TEST(LocalIPByUsage, ServiceFallback_IsTheLoadedAddressNotTheLists) {
    OwnNode node;
    node.addresses(entries("from the list=maintenance"));
    EXPECT_EQ(node.reader().getLocalServiceIP(), "M");
    EXPECT_EQ(node.reader().getLocalMaintenanceIP(), "from the list");
}

TEST(LocalIPByUsage, NodeIdChangedOnDisk_TakesEffectAtTheReload) {
    OwnNode node;
    node.files.nodeList(
        listOf(nodeWith("n1", entries("A=service")) + "," + nodeWith("n2", entries("B=service"))));
    EXPECT_EQ(node.reader().getLocalServiceIP(), "A");
    node.files.appConfig(R"({"processes":{"p1":{"nodeId":"n2"}}})");
    EXPECT_EQ(node.reader().getLocalServiceIP(), "A");
    node.reader().Reload();
    EXPECT_EQ(node.reader().getLocalServiceIP(), "B");
}

TEST(LocalIPByUsage, NothingLoaded_UsesTheNodeWithTheEmptyId) {
    support::Deployment files;
    files.nodeList(listOf(nodeWith("", entries("A=service"))));
    EXPECT_EQ(SysConfReader::Instance()->getLocalServiceIP(), "A");
    files.nodeList(listOf(nodeWith("n1", entries("A=service"))));
    EXPECT_EQ(SysConfReader::Instance()->getLocalServiceIP(), "");
}

TEST(LocalIPByUsage, IdsOfEveryKind_AreComparedByBytes) {
    OwnNode node;
    for (const char* id :
         {"node 1", R"(no\"de)", R"(n\u0000x)", "\xE7\xAF\x80", "\xFF", R"(\u00e9)"}) {
        node.files.appConfig(R"({"processes":{"p1":{"nodeId":")" + std::string(id) + R"("}}})");
        node.files.nodeList(listOf(nodeWith("n", entries("prefix=service")) + "," +
                                   nodeWith(id, entries("found=service"))));
        node.reader().Reload();
        EXPECT_EQ(node.reader().getLocalServiceIP(), "found") << id;
    }
}

TEST(LocalIPByUsage, StandbyNode_OnlyMaintenanceIsTheOwnNodes) {
    support::setHostAddresses({"10.0.0.7"});
    OwnNode node;
    node.standby(entries("own=maintenance|service|service2|x"),
                 entries("10.0.0.7=service|maintenance,source=service2|x"));
    ASSERT_EQ(node.reader().getFloatNodeId(), "source");
    EXPECT_EQ(node.reader().getLocalMaintenanceIP(), "own");
    for (const char* usage : {"maintenance", "Maintenance", "MAINTENANCE", "mAINTENANCe"}) {
        EXPECT_EQ(node.reader().getLocalIPByUsage(usage), "own") << usage;
    }
    EXPECT_EQ(node.reader().getLocalServiceIP(), "10.0.0.7");
    EXPECT_EQ(node.reader().getLocalService2IP(), "source");
    EXPECT_EQ(node.reader().getLocalIPByUsage("x"), "source");
}

} // namespace
