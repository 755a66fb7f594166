// SPDX-License-Identifier: Apache-2.0
#include "OwnNode.h"
#include "support/HostAddresses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <filesystem>

using namespace std::string_literals;

namespace {

using Quarncommon::SysConfReader;

using ByNumber = std::map<int, std::string>;
using ByTag = std::map<std::string, std::string>;

struct Numbered {
    ByNumber byNumber;
    std::string service = "-";
    std::string service2 = "-";
};

bool operator==(const Numbered& a, const Numbered& b) {
    return a.byNumber == b.byNumber && a.service == b.service && a.service2 == b.service2;
}
void PrintTo(const Numbered& answer, std::ostream* out) {
    *out << testing::PrintToString(answer.byNumber) << ' ' << answer.service << ' '
         << answer.service2;
}

Numbered askNumbered(const std::string& prefix, Numbered before = {}) {
    SysConfReader::Instance()->getLocalNodeIPs(prefix, before.byNumber, before.service,
                                               before.service2);
    return before;
}

ByTag askTagged(ByTag map = {}) {
    SysConfReader::Instance()->getLocalNodeIPs(map);
    return map;
}

/// Expects all 1024 family keys in the map.
ByTag filled(ByTag map) {
    EXPECT_FALSE(map.contains("southbound1"));
    for (int n = 1; n <= 1024; ++n) {
        const auto found = map.find("southbound" + (n == 1 ? "" : std::to_string(n)));
        if (found == map.end()) {
            ADD_FAILURE() << "no key for " << n;
        } else if (found->second.empty()) {
            map.erase(found);
        }
    }
    return map;
}

TEST(LocalNodeIPsByNumber, EachListAndPrefix_CollectsItsAddresses) {
    const struct {
        const char* name;
        std::string addresses;
        Numbered expected;
        std::string prefix = "northbound";
    } rows[] = {
        {"first address of a number wins",
         entries("A=northbound,B=northbound2,C=northbound2"),
         {{{0, "A"}, {2, "B"}}}},
        {"first wins even if it is empty", entries("=northbound2,C=northbound2"), {{{2, ""}}}},
        {"first wins even without IP",
         R"({"usage":["northbound2"]},)" + entries("C=northbound2"),
         {{{2, ""}}}},
        {"number of two digits", entries("A=northbound10"), {{{10, "A"}}}},
        {"no digits", entries("A=northboundx,B=northbound"), {{{0, "A"}}}},
        {"prefix in the middle", entries("A=pre-northbound5"), {{{0, "A"}}}},
        {"prefix in the middle, number taken",
         entries("B=northbound,A=pre-northbound5"),
         {{{0, "B"}}}},
        {"prefix in the middle cuts at its length",
         entries("A=12northbound5,B=xxxx7y,C=x7y"),
         {{{0, "B"}, {7, "C"}}},
         "y"},
        {"capitals in the list", entries("A=NorthBound2"), {{{2, "A"}}}},
        {"capitals in the prefix",
         entries("A=Northbound2,S=service,T=service2"),
         {{}, "S", "T"},
         "Northbound"},
        {"one capital in the prefix", entries("A=northbound"), {}, "northbounD"},
        {"empty prefix",
         entries("A=northbound,S=service,T=service2,B=5"),
         {{{0, "A"}, {5, "B"}}},
         ""},
        {"last service address wins",
         entries("S=service,S2=service,T=service2,T2=SERVICE2"),
         {{}, "S2", "T2"}},
        {"last service address wins even if it is empty",
         entries("S=service,=service"),
         {{}, "", "-"}},
        {"service entry without IP", R"({"usage":["service","service2"]})", {{}, "", ""}},
        {"service tags in addition to the family",
         entries("A=northbound,S=service,T=service2"),
         {{{0, "A"}}, "S", "T"}},
        {"tags that only start like service", entries("A=service3,B=service "), {}},
        {"prefix service takes the service tags",
         entries("S=service,T=service2"),
         {{{0, "S"}, {2, "T"}}},
         "service"},
        {"one entry, many tags",
         entries("A=northbound|northbound3|service"),
         {{{0, "A"}, {3, "A"}}, "A", "-"}},
        {"longer than every tag", entries("A=north"), {}},
        {"plain string", R"({"IP":"A","usage":"northbound"})", {}},
        {"no entries", "", {}},
        {"NUL before the number", entries(R"(A=northbound\u00002)"), {{{0, "A"}}}},
        {"NUL after the number", entries(R"(A=northbound2\u00003)"), {{{2, "A"}}}},
        {"NUL as prefix", entries(R"(A=x\u00007)"), {{{0, "A"}}}, "\0"s},
    };
    OwnNode node;
    node.reader();
    for (const auto& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(askNumbered(row.prefix), row.expected) << row.name;
    }
}

TEST(LocalNodeIPsByNumber, NumbersBeyondIntAndLong_SaturateAndAreTruncated) {
    const std::pair<const char*, int> rows[] = {
        {"2147483647", INT_MAX},
        {"2147483648", INT_MIN},
        {"4294967295", -1},
        {"4294967296", 0},
        {"4294967298", 2},
        {"-2147483648", INT_MIN},
        {"-2147483649", INT_MAX},
        {"-1", -1},
        {"9223372036854775807", -1},
        {"9223372036854775808", -1},
        {"99999999999999999999", -1},
        {"-9223372036854775808", 0},
        {"-99999999999999999999", 0},
        {"02", 2},
        {"+2", 2},
        {" 2", 2},
        {"0", 0},
        {"010", 10},
        {"-5", -5},
        {R"(\t\n2)", 2},
        {"2 ", 2},
        {"2x", 2},
        {"x2", 0},
        {"- 2", 0},
        {"0x10", 0},
        {"1e3", 1},
        {"\xEF\xBC\x92", 0},
    };
    OwnNode node;
    node.reader();
    for (const auto& [number, expected] : rows) {
        node.addresses(entries("A=northbound" + std::string(number)));
        EXPECT_EQ(askNumbered("northbound"), (Numbered{{{expected, "A"}}})) << number;
    }
}

TEST(LocalNodeIPsByNumber, NumbersOfTheCaller_AreNeverOverwritten) {
    OwnNode node;
    node.addresses(entries("A=northbound,B=northbound2"));
    EXPECT_EQ(askNumbered("northbound", {{{2, "mine"}, {7, "also mine"}}, "s", "t"}),
              (Numbered{{{0, "A"}, {2, "mine"}, {7, "also mine"}}, "s", "t"}));
}

TEST(LocalNodeIPsByNumber, ListThatDoesNotParse_ChangesNothing) {
    OwnNode node;
    const Numbered before{{{1, "mine"}}, "s", "t"};
    EXPECT_EQ(askNumbered("northbound", before), before) << "missing";
    for (const char* text : {"", "{", "{} x"}) {
        node.files.nodeList(text);
        EXPECT_EQ(askNumbered("northbound", before), before) << text;
    }
}

TEST(LocalNodeIPsByNumber, WrongType_KeepsWhatWasCollected) {
    const std::string start = entries("S=service,A=northbound");
    const struct {
        std::string addresses;
        Numbered expected;
    } rows[] = {
        {start + R"(,7,)" + entries("B=northbound2"), {{{0, "A"}}, "S", "-"}},
        {start + R"(,{"IP":{},"usage":[]},)" + entries("B=northbound2"), {{{0, "A"}}, "S", "-"}},
        {start + R"(,{"IP":"B","usage":["northbound2",[],"northbound3"]})",
         {{{0, "A"}, {2, "B"}}, "S", "-"}},
        {start + R"(,[],)" + entries("B=northbound2"), {{{0, "A"}}, "S", "-"}},
    };
    OwnNode node;
    node.reader();
    for (const auto& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(askNumbered("northbound"), row.expected) << row.addresses;
    }
    for (const char* list : {R"({"nodeList":[]})", R"({"nodeList":{"n1":7}})", "[]"}) {
        node.files.nodeList(list);
        EXPECT_EQ(askNumbered("northbound"), Numbered{}) << list;
    }
}

TEST(LocalNodeIPsByNumber, ObjectsInPlaceOfArrays_AreWalkedInKeyOrder) {
    OwnNode node;
    node.files.nodeList(R"({"nodeList":{"n1":{"IPAddresses":{
        "b":{"IP":"B","usage":["northbound2","service"]},
        "a":{"IP":"A","usage":{"z":"northbound","y":"northbound2","x":"service"}}}}}})");
    EXPECT_EQ(askNumbered("northbound"), (Numbered{{{0, "A"}, {2, "A"}}, "B", "-"}));
}

TEST(LocalNodeIPsByTag, EachList_FillsItsKeys) {
    const struct {
        const char* name;
        std::string addresses;
        ByTag expected;
        ByTag before = {};
    } rows[] = {
        {"family tags, no service key",
         entries("A=southbound,K=southbound3"),
         {{"southbound", "A"}, {"southbound3", "K"}}},
        {"service tags only",
         entries("S=service,T=service2"),
         {{"service", "S"}, {"service2", "T"}}},
        {"no second service tag", entries("S=service"), {{"service", "S"}}},
        {"second service tag alone", entries("T=service2"), {{"service", ""}, {"service2", "T"}}},
        {"second service address empty", entries("S=service,=service2"), {{"service", "S"}}},
        {"no address", "", {{"service", ""}}},
        {"other tags", entries("A=northbound,B=x"), {{"service", ""}}},
        {"service tags in addition to the family",
         entries("S=service,A=southbound,T=service2"),
         {{"southbound", "A"}}},
        {"last address of a tag wins",
         entries("A=southbound2,B=southbound2"),
         {{"southbound2", "B"}}},
        {"last wins even if it is empty", entries("A=southbound2,=southbound2"), {}},
        {"last service address wins",
         entries("S=service,S2=service,T=service2,T2=service2"),
         {{"service", "S2"}, {"service2", "T2"}}},
        {"capitals in the list", entries("A=SouthBound2"), {{"southbound2", "A"}}},
        {"southbound1", entries("A=southbound1"), {{"service", ""}}},
        {"southbound1024", entries("A=southbound1024"), {{"southbound1024", "A"}}},
        {"southbound1025", entries("A=southbound1025"), {{"service", ""}}},
        {"not the digits of the key",
         entries("A=southbound02,B=southbound+2,C=southbound 2,D=southbound2 ,E=xsouthbound2,"
                 "F=southbound0,G=southbound00,H=southbound9999,I=southbound18446744073709551618,"
                 "J=southboun"),
         {{"service", ""}}},
        {"NUL after the key", entries(R"(A=southbound2\u0000)"), {{"service", ""}}},
        {"family tag without IP", R"({"usage":["southbound"]},)" + entries("S=service"), {}},
        {"plain string", R"({"IP":"A","usage":"southbound"})", {{"service", ""}}},
        {"caller's key of another family",
         entries("A=northbound,S=service"),
         {{"northbound", "A"}},
         {{"northbound", "old"}}},
        {"caller's key without tag",
         entries("S=service"),
         {{"x", "old"}, {"service", "S"}},
         {{"x", "old"}}},
        {"caller's key in capitals",
         entries("A=MyTag"),
         {{"MyTag", "old"}, {"service", ""}},
         {{"MyTag", "old"}}},
        {"caller's key in lower case", entries("A=MyTag"), {{"mytag", "A"}}, {{"mytag", "old"}}},
        {"caller's service key",
         entries("S=service,T=service2"),
         {{"service", "S"}},
         {{"service", "old"}}},
        {"caller's service2 key",
         entries("S=service,T=service2"),
         {{"service2", "T"}},
         {{"service2", "old"}}},
        {"caller's service2 key, not met",
         entries("S=service"),
         {{"service", "S"}, {"service2", "old"}},
         {{"service2", "old"}}},
        {"caller's family key is emptied",
         entries("S=service"),
         {{"service", "S"}},
         {{"southbound2", "old"}}},
        {"caller's empty key", entries("A="), {{"", "A"}}, {{"", "old"}}},
    };
    OwnNode node;
    node.reader();
    for (const auto& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(filled(askTagged(row.before)), row.expected) << row.name;
    }
}

TEST(LocalNodeIPsByTag, CallersSouthbound1_IsAKeyLikeAnyOther) {
    OwnNode node;
    node.addresses(entries("A=southbound1,S=service"));
    const ByTag map = askTagged({{"southbound1", "old"}});
    EXPECT_EQ(map.at("southbound1"), "A");
    EXPECT_EQ(map.size(), 1025U);
}

TEST(LocalNodeIPsByTag, SameMapTwice_ServiceKeyOfTheFirstCallIsAMatchInTheSecond) {
    OwnNode node;
    node.addresses(entries("S=service,T=service2"));
    ByTag map = askTagged();
    EXPECT_EQ(filled(map), (ByTag{{"service", "S"}, {"service2", "T"}}));
    node.addresses(entries("S2=service,=service2"));
    map = askTagged(map);
    EXPECT_EQ(filled(map), (ByTag{{"service", "S2"}, {"service2", ""}}));
    // Without the tag but with another match, the old service address is kept.
    node.addresses(entries("A=southbound"));
    EXPECT_EQ(filled(askTagged(map)),
              (ByTag{{"service", "S2"}, {"service2", ""}, {"southbound", "A"}}));
    node.addresses("");
    EXPECT_EQ(filled(askTagged(map)), (ByTag{{"service", ""}, {"service2", ""}}));
}

TEST(LocalNodeIPsByTag, ListThatDoesNotParse_EmptiesFamilyAndServiceOnly) {
    OwnNode node;
    EXPECT_EQ(filled(askTagged()), (ByTag{{"service", ""}})) << "missing";
    for (const char* text : {"", "{", "{} x"}) {
        node.files.nodeList(text);
        EXPECT_EQ(
            filled(askTagged(
                {{"service", "old"}, {"service2", "old"}, {"x", "old"}, {"southbound7", "old"}})),
            (ByTag{{"service", ""}, {"service2", "old"}, {"x", "old"}}))
            << text;
    }
}

TEST(LocalNodeIPsByTag, WrongType_ServiceIsTheLastOneBefore) {
    const struct {
        const char* name;
        std::string addresses;
        ByTag expected;
        ByTag before = {};
    } rows[] = {
        {"nothing seen", "7," + entries("S=service"), {{"service", ""}}},
        {"service seen", entries("S=service,T=service2") + ",7", {{"service", "S"}}},
        {"family matched before",
         entries("A=southbound,S=service") + ",7",
         {{"southbound", "A"}, {"service", "S"}}},
        {"family matched, no service",
         entries("A=southbound") + ",[]",
         {{"southbound", "A"}, {"service", ""}}},
        {"caller's service key was the match",
         entries("S=service") + ",7",
         {{"service", ""}},
         {{"service", "old"}}},
        {"address of a matched tag", R"({"IP":{},"usage":["southbound"]})", {{"service", ""}}},
        {"address of a tag that is not asked for",
         R"({"IP":{},"usage":["x"]},)" + entries("A=southbound"),
         {{"southbound", "A"}}},
        {"tag that is no text",
         R"({"IP":"A","usage":["southbound",{},"southbound2"]})",
         {{"southbound", "A"}, {"service", ""}}},
        {"object in place of the tags",
         R"({"IP":"A","usage":{"0":"southbound"}})",
         {{"service", ""}}},
    };
    OwnNode node;
    node.reader();
    for (const auto& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(filled(askTagged(row.before)), row.expected) << row.name;
    }
    for (const char* list :
         {R"({"nodeList":[]})", R"({"nodeList":{"n1":7}})", "[]",
          R"({"nodeList":{"n1":{"IPAddresses":{"a":{"IP":"A","usage":["southbound"]}}}}})"}) {
        node.files.nodeList(list);
        EXPECT_EQ(filled(askTagged()), (ByTag{{"service", ""}})) << list;
    }
}

TEST(LocalNodeIPs, StandbyNode_BothAnswerForTheSourceNode) {
    support::setHostAddresses({"10.0.0.7"});
    OwnNode node;
    node.standby(entries("own=southbound"), entries("10.0.0.7=service,source=southbound"));
    EXPECT_EQ(askNumbered("southbound"), (Numbered{{{0, "source"}}, "10.0.0.7", "-"}));
    EXPECT_EQ(filled(askTagged()), (ByTag{{"southbound", "source"}}));
}

TEST(LocalNodeIPs, NothingLoaded_UsesTheNodeWithTheEmptyId) {
    support::Deployment files;
    files.nodeList(listOf(nodeWith("", entries("A=southbound"))));
    EXPECT_EQ(askNumbered("southbound"), (Numbered{{{0, "A"}}}));
    EXPECT_EQ(filled(askTagged()), (ByTag{{"southbound", "A"}}));
}

} // namespace
