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
        {"one entry", addressEntries({{"A", "service"}}), "service", "A"},
        {"first of two", addressEntries({{"A", "service"}, {"B", "service"}}), "service", "A"},
        {"capitals first", addressEntries({{"A", "Maintenance"}, {"B", "maintenance"}}),
         "maintenance", "A"},
        {"capitals in the request", addressEntries({{"A", "service"}}), "SERVICE", "A"},
        {"capitals in both", addressEntries({{"A", "sErViCe"}}), "SeRvIcE", "A"},
        {"second tag", addressEntry("A", {"x", "service"}), "service", "A"},
        {"beginning of a tag", addressEntries({{"A", "service"}}), "serv", ""},
        {"end of a tag", addressEntries({{"A", "internal_service"}}), "service", ""},
        {"tag and more", addressEntries({{"A", "service"}}), "service2", ""},
        {"unknown tag", addressEntries({{"A", "service"}}), "x", ""},
        {"any tag that a caller makes up", addressEntries({{"A", "my own tag"}}), "My Own Tag",
         "A"},
        {"empty tag in the list", addressEntries({{"A", "x"}, {"B", ""}}), "", "B"},
        {"no empty tag", addressEntries({{"A", "x"}}), "", ""},
        {"plain string", R"({"IP":"A","usage":"service"})", "service", ""},
        {"plain string before an array",
         R"({"IP":"A","usage":"service"},)" + addressEntry("B", {"service"}), "service", "B"},
        {"first without IP", R"({"usage":["service"]},)" + addressEntry("B", {"service"}),
         "service", ""},
        {"first with null IP",
         R"({"IP":null,"usage":["service"]},)" + addressEntry("B", {"service"}), "service", ""},
        {"first with empty IP", addressEntries({{"", "service"}, {"B", "service"}}), "service", ""},
        {"entry without usage", R"({"IP":"A"},)" + addressEntry("B", {"service"}), "service", "B"},
        {"quote in a tag", addressEntry("A", {R"(se\"rv)"}), "SE\"RV", "A"},
        {"NUL in a tag", addressEntry("A", {R"(a\u0000B)"}), "A\0b"s, "A"},
        {"NUL ends nothing", addressEntry("A", {R"(service\u0000)"}), "service", ""},
        {"tag not in ASCII", addressEntry("A", {"m\xC3\xA4rz"}), "M\xC3\xA4RZ", "A"},
        {"address is any text", addressEntry(R"(a\u0000\"b)", {"x"}), "x", "a\0\"b"s},
        {"null entry", "null," + addressEntry("B", {"x"}), "x", "B"},
        {"number as IP", R"({"IP":5,"usage":["x"]})", "x", "5"},
        {"number as tag", R"({"IP":"A","usage":[5]})", "5", "A"},
        {"null as tag", R"({"IP":"A","usage":[null]})", "", "A"},
        {"wrong IP after the answer", addressEntry("A", {"x"}) + R"(,{"IP":[1],"usage":["x"]})",
         "x", "A"},
        {"wrong IP of another tag", R"({"IP":[1],"usage":["w"]},)" + addressEntry("B", {"x"}), "x",
         "B"},
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
    node.addresses(addressEntry("A", {"service"}) + ",7");
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
    node.addresses(addressEntry("A", {"service", "service2"}));
    EXPECT_EQ(node.reader().getLocalServiceIP(), "A");
    EXPECT_EQ(node.reader().getLocalService2IP(), "A");
}

TEST(LocalIPByUsage, FirstServiceEntryWithoutIP_OnlyTheNamedQueryFallsBack) {
    OwnNode node;
    node.addresses(R"({"usage":["service"]},)" + addressEntry("B", {"service"}));
    EXPECT_EQ(node.reader().getLocalIPByUsage("service"), "");
    EXPECT_EQ(node.reader().getLocalServiceIP(), "M");
}

TEST(LocalIPByUsage, ServiceFallback_IsTheLoadedAddressNotTheLists) {
    OwnNode node;
    node.addresses(addressEntry("from the list", {"maintenance"}));
    EXPECT_EQ(node.reader().getLocalServiceIP(), "M");
    EXPECT_EQ(node.reader().getLocalMaintenanceIP(), "from the list");
}

TEST(LocalIPByUsage, NodeIdChangedOnDisk_TakesEffectAtTheReload) {
    OwnNode node;
    node.files.nodeList(R"({"nodeList":{"n1":{"IPAddresses":[)" + addressEntry("A", {"service"}) +
                        R"(]},"n2":{"IPAddresses":[)" + addressEntry("B", {"service"}) + "]}}}");
    EXPECT_EQ(node.reader().getLocalServiceIP(), "A");
    node.files.appConfig(R"({"processes":{"p1":{"nodeId":"n2"}}})");
    EXPECT_EQ(node.reader().getLocalServiceIP(), "A");
    node.reader().Reload();
    EXPECT_EQ(node.reader().getLocalServiceIP(), "B");
}

TEST(LocalIPByUsage, NothingLoaded_UsesTheNodeWithTheEmptyId) {
    support::Deployment files;
    files.nodeList(R"({"nodeList":{"":{"IPAddresses":[)" + addressEntry("A", {"service"}) + "]}}}");
    EXPECT_EQ(SysConfReader::Instance()->getLocalServiceIP(), "A");
    files.nodeList(R"({"nodeList":{"n1":{"IPAddresses":[)" + addressEntry("A", {"service"}) +
                   "]}}}");
    EXPECT_EQ(SysConfReader::Instance()->getLocalServiceIP(), "");
}

TEST(LocalIPByUsage, IdsOfEveryKind_AreComparedByBytes) {
    const std::pair<const char*, const char*> rows[] = {
        {"node 1", "found"},       {R"(no\"de)", "found"}, {R"(n\u0000x)", "found"},
        {"\xE7\xAF\x80", "found"}, {"\xFF", "found"},      {R"(\u00e9)", "found"},
    };
    OwnNode node;
    for (const auto& [id, expected] : rows) {
        node.files.appConfig(R"({"processes":{"p1":{"nodeId":")" + std::string(id) + R"("}}})");
        node.files.nodeList(R"({"nodeList":{"n":{"IPAddresses":[)" +
                            addressEntry("prefix", {"service"}) + R"(]},")" + std::string(id) +
                            R"(":{"IPAddresses":[)" + addressEntry(expected, {"service"}) + "]}}}");
        node.reader().Reload();
        EXPECT_EQ(node.reader().getLocalServiceIP(), expected) << id;
    }
}

TEST(LocalIPByUsage, StandbyNode_MaintenanceIsTheOwnNodesAllElseTheSourceNodes) {
    support::setHostAddresses({"10.0.0.7"});
    OwnNode node;
    node.files.nodeList(R"({"nodeList":{"n1":{"extAttr":{"hostType":"standby"},"IPAddresses":[)" +
                        addressEntry("own", {"maintenance", "service", "service2", "x"}) +
                        R"(]},"source":{"IPAddresses":[)" +
                        addressEntry("10.0.0.7", {"service", "maintenance"}) + "," +
                        addressEntry("source", {"service2", "x"}) + "]}}}");
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
