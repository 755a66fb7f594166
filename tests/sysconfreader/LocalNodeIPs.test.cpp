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

/// The outputs of the first overload.
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

/// Counts the empty family keys, which the second overload prepares, without those in `except`.
std::size_t emptyFamilyKeys(const ByTag& map, const std::set<std::string>& except = {}) {
    std::size_t count = 0;
    for (int n = 1; n <= 1024; ++n) {
        const std::string key = "southbound" + (n == 1 ? "" : std::to_string(n));
        const auto found = map.find(key);
        count += except.count(key) == 0 && found != map.end() && found->second.empty() ? 1 : 0;
    }
    return count;
}

/// Returns the map without empty family keys. Expects all 1024 family keys in it.
ByTag filled(const ByTag& map) {
    ByTag rest;
    std::size_t family = 0;
    for (const auto& [key, value] : map) {
        const bool ofFamily = key.rfind("southbound", 0) == 0;
        family += ofFamily ? 1 : 0;
        if (!ofFamily || !value.empty()) {
            rest.insert({key, value});
        }
    }
    EXPECT_EQ(family, 1024U);
    EXPECT_EQ(map.count("southbound1"), 0U);
    return rest;
}

TEST(LocalNodeIPsByNumber, EachListAndPrefix_CollectsItsAddresses) {
    const struct {
        const char* name;
        std::string addresses;
        std::string prefix;
        Numbered expected;
    } rows[] = {
        {"first address of a number wins",
         addressEntries({{"A", "northbound"}, {"B", "northbound2"}, {"C", "northbound2"}}),
         "northbound",
         {{{0, "A"}, {2, "B"}}}},
        {"first wins even if it is empty",
         addressEntries({{"", "northbound2"}, {"C", "northbound2"}}),
         "northbound",
         {{{2, ""}}}},
        {"first wins even without IP",
         R"({"usage":["northbound2"]},)" + addressEntry("C", {"northbound2"}),
         "northbound",
         {{{2, ""}}}},
        {"number of two digits",
         addressEntries({{"A", "northbound10"}}),
         "northbound",
         {{{10, "A"}}}},
        {"no digits",
         addressEntries({{"A", "northboundx"}, {"B", "northbound"}}),
         "northbound",
         {{{0, "A"}}}},
        {"prefix in the middle",
         addressEntries({{"A", "pre-northbound5"}}),
         "northbound",
         {{{0, "A"}}}},
        {"prefix in the middle, number taken",
         addressEntries({{"B", "northbound"}, {"A", "pre-northbound5"}}),
         "northbound",
         {{{0, "B"}}}},
        {"prefix in the middle cuts at its length",
         addressEntries({{"A", "12northbound5"}, {"B", "xxxx7y"}, {"C", "x7y"}}),
         "y",
         {{{0, "B"}, {7, "C"}}}},
        {"capitals in the list",
         addressEntries({{"A", "NorthBound2"}}),
         "northbound",
         {{{2, "A"}}}},
        {"capitals in the prefix",
         addressEntries({{"A", "Northbound2"}, {"S", "service"}, {"T", "service2"}}),
         "Northbound",
         {{}, "S", "T"}},
        {"one capital in the prefix", addressEntries({{"A", "northbound"}}), "northbounD", {}},
        {"empty prefix",
         addressEntries({{"A", "northbound"}, {"S", "service"}, {"T", "service2"}, {"B", "5"}}),
         "",
         {{{0, "A"}, {5, "B"}}}},
        {"last service address wins",
         addressEntries(
             {{"S", "service"}, {"S2", "service"}, {"T", "service2"}, {"T2", "SERVICE2"}}),
         "northbound",
         {{}, "S2", "T2"}},
        {"last service address wins even if it is empty",
         addressEntries({{"S", "service"}, {"", "service"}}),
         "northbound",
         {{}, "", "-"}},
        {"service entry without IP",
         R"({"usage":["service","service2"]})",
         "northbound",
         {{}, "", ""}},
        {"service tags in addition to the family",
         addressEntries({{"A", "northbound"}, {"S", "service"}, {"T", "service2"}}),
         "northbound",
         {{{0, "A"}}, "S", "T"}},
        {"tags that only start like service",
         addressEntries({{"A", "service3"}, {"B", "service "}}),
         "northbound",
         {}},
        {"prefix service takes the service tags",
         addressEntries({{"S", "service"}, {"T", "service2"}}),
         "service",
         {{{0, "S"}, {2, "T"}}}},
        {"one entry, many tags",
         addressEntry("A", {"northbound", "northbound3", "service"}),
         "northbound",
         {{{0, "A"}, {3, "A"}}, "A", "-"}},
        {"longer than every tag", addressEntries({{"A", "north"}}), "northbound", {}},
        {"plain string", R"({"IP":"A","usage":"northbound"})", "northbound", {}},
        {"no entries", "", "northbound", {}},
        {"NUL before the number",
         addressEntry("A", {R"(northbound\u00002)"}),
         "northbound",
         {{{0, "A"}}}},
        {"NUL after the number",
         addressEntry("A", {R"(northbound2\u00003)"}),
         "northbound",
         {{{2, "A"}}}},
        {"NUL as prefix", addressEntry("A", {R"(x\u00007)"}), "\0"s, {{{0, "A"}}}},
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
        node.addresses(addressEntry("A", {("northbound" + std::string(number)).c_str()}));
        EXPECT_EQ(askNumbered("northbound"), (Numbered{{{expected, "A"}}})) << number;
    }
}

TEST(LocalNodeIPsByNumber, NumbersOfTheCaller_AreNeverOverwritten) {
    OwnNode node;
    node.addresses(addressEntries({{"A", "northbound"}, {"B", "northbound2"}}));
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
    const std::string start = addressEntries({{"S", "service"}, {"A", "northbound"}});
    const struct {
        std::string addresses;
        Numbered expected;
    } rows[] = {
        {start + R"(,7,)" + addressEntry("B", {"northbound2"}), {{{0, "A"}}, "S", "-"}},
        {start + R"(,{"IP":{},"usage":[]},)" + addressEntry("B", {"northbound2"}),
         {{{0, "A"}}, "S", "-"}},
        {start + R"(,{"IP":"B","usage":["northbound2",[],"northbound3"]})",
         {{{0, "A"}, {2, "B"}}, "S", "-"}},
        {start + R"(,[],)" + addressEntry("B", {"northbound2"}), {{{0, "A"}}, "S", "-"}},
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
        ByTag before;
        ByTag expected;
    } rows[] = {
        {"family tags, no service key",
         addressEntries({{"A", "southbound"}, {"K", "southbound3"}}),
         {},
         {{"southbound", "A"}, {"southbound3", "K"}}},
        {"service tags only",
         addressEntries({{"S", "service"}, {"T", "service2"}}),
         {},
         {{"service", "S"}, {"service2", "T"}}},
        {"no second service tag", addressEntries({{"S", "service"}}), {}, {{"service", "S"}}},
        {"second service tag alone",
         addressEntries({{"T", "service2"}}),
         {},
         {{"service", ""}, {"service2", "T"}}},
        {"second service address empty",
         addressEntries({{"S", "service"}, {"", "service2"}}),
         {},
         {{"service", "S"}}},
        {"no address", "", {}, {{"service", ""}}},
        {"other tags", addressEntries({{"A", "northbound"}, {"B", "x"}}), {}, {{"service", ""}}},
        {"service tags in addition to the family",
         addressEntries({{"S", "service"}, {"A", "southbound"}, {"T", "service2"}}),
         {},
         {{"southbound", "A"}}},
        {"last address of a tag wins",
         addressEntries({{"A", "southbound2"}, {"B", "southbound2"}}),
         {},
         {{"southbound2", "B"}}},
        {"last wins even if it is empty",
         addressEntries({{"A", "southbound2"}, {"", "southbound2"}}),
         {},
         {}},
        {"last service address wins",
         addressEntries(
             {{"S", "service"}, {"S2", "service"}, {"T", "service2"}, {"T2", "service2"}}),
         {},
         {{"service", "S2"}, {"service2", "T2"}}},
        {"capitals in the list",
         addressEntries({{"A", "SouthBound2"}}),
         {},
         {{"southbound2", "A"}}},
        {"southbound1", addressEntries({{"A", "southbound1"}}), {}, {{"service", ""}}},
        {"southbound1024",
         addressEntries({{"A", "southbound1024"}}),
         {},
         {{"southbound1024", "A"}}},
        {"southbound1025", addressEntries({{"A", "southbound1025"}}), {}, {{"service", ""}}},
        {"not the digits of the key",
         addressEntries({{"A", "southbound02"},
                         {"B", "southbound+2"},
                         {"C", "southbound 2"},
                         {"D", "southbound2 "},
                         {"E", "xsouthbound2"},
                         {"F", "southbound0"},
                         {"G", "southbound00"},
                         {"H", "southbound9999"},
                         {"I", "southbound18446744073709551618"},
                         {"J", "southboun"}}),
         {},
         {{"service", ""}}},
        {"NUL after the key", addressEntry("A", {R"(southbound2\u0000)"}), {}, {{"service", ""}}},
        {"family tag without IP",
         R"({"usage":["southbound"]},)" + addressEntry("S", {"service"}),
         {},
         {}},
        {"plain string", R"({"IP":"A","usage":"southbound"})", {}, {{"service", ""}}},
        {"caller's key of another family",
         addressEntries({{"A", "northbound"}, {"S", "service"}}),
         {{"northbound", "old"}},
         {{"northbound", "A"}}},
        {"caller's key without tag",
         addressEntries({{"S", "service"}}),
         {{"x", "old"}},
         {{"x", "old"}, {"service", "S"}}},
        {"caller's key in capitals",
         addressEntries({{"A", "MyTag"}}),
         {{"MyTag", "old"}},
         {{"MyTag", "old"}, {"service", ""}}},
        {"caller's key in lower case",
         addressEntries({{"A", "MyTag"}}),
         {{"mytag", "old"}},
         {{"mytag", "A"}}},
        {"caller's service key",
         addressEntries({{"S", "service"}, {"T", "service2"}}),
         {{"service", "old"}},
         {{"service", "S"}}},
        {"caller's service2 key",
         addressEntries({{"S", "service"}, {"T", "service2"}}),
         {{"service2", "old"}},
         {{"service2", "T"}}},
        {"caller's service2 key, not met",
         addressEntries({{"S", "service"}}),
         {{"service2", "old"}},
         {{"service", "S"}, {"service2", "old"}}},
        {"caller's family key is emptied",
         addressEntries({{"S", "service"}}),
         {{"southbound2", "old"}},
         {{"service", "S"}}},
        {"caller's empty key", addressEntries({{"A", ""}}), {{"", "old"}}, {{"", "A"}}},
    };
    OwnNode node;
    node.reader();
    for (const auto& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(filled(askTagged(row.before)), row.expected) << row.name;
    }
}

TEST(LocalNodeIPsByTag, EmptyMap_GetsAll1024FamilyKeys) {
    OwnNode node;
    node.addresses(addressEntries({{"A", "southbound"}, {"K", "southbound3"}}));
    const ByTag map = askTagged();
    EXPECT_EQ(map.size(), 1024U);
    EXPECT_EQ(emptyFamilyKeys(map), 1022U);
    EXPECT_EQ(map.at("southbound"), "A");
    EXPECT_EQ(map.at("southbound3"), "K");
    EXPECT_EQ(map.count("service"), 0U);
}

TEST(LocalNodeIPsByTag, CallersSouthbound1_IsAKeyLikeAnyOther) {
    OwnNode node;
    node.addresses(addressEntries({{"A", "southbound1"}, {"S", "service"}}));
    const ByTag map = askTagged({{"southbound1", "old"}});
    EXPECT_EQ(map.at("southbound1"), "A");
    EXPECT_EQ(map.size(), 1025U);
}

TEST(LocalNodeIPsByTag, SameMapTwice_ServiceKeyOfTheFirstCallIsAMatchInTheSecond) {
    OwnNode node;
    node.addresses(addressEntries({{"S", "service"}, {"T", "service2"}}));
    ByTag map = askTagged();
    EXPECT_EQ(filled(map), (ByTag{{"service", "S"}, {"service2", "T"}}));
    node.addresses(addressEntries({{"S2", "service"}, {"", "service2"}}));
    map = askTagged(map);
    EXPECT_EQ(filled(map), (ByTag{{"service", "S2"}, {"service2", ""}}));
    // The tag is gone, but another key matched: the old service address is kept.
    node.addresses(addressEntries({{"A", "southbound"}}));
    EXPECT_EQ(filled(askTagged(map)),
              (ByTag{{"service", "S2"}, {"service2", ""}, {"southbound", "A"}}));
    node.addresses("");
    EXPECT_EQ(filled(askTagged(map)), (ByTag{{"service", ""}, {"service2", ""}}));
}

TEST(LocalNodeIPsByTag, ListThatDoesNotParse_EmptiesFamilyAndServiceOnly) {
    OwnNode node;
    const ByTag missing = askTagged();
    EXPECT_EQ(missing.size(), 1025U);
    EXPECT_EQ(emptyFamilyKeys(missing), 1024U);
    EXPECT_EQ(missing.at("service"), "");
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
        ByTag before;
        ByTag expected;
    } rows[] = {
        {"nothing seen", "7," + addressEntry("S", {"service"}), {}, {{"service", ""}}},
        {"service seen",
         addressEntries({{"S", "service"}, {"T", "service2"}}) + ",7",
         {},
         {{"service", "S"}}},
        {"family matched before",
         addressEntries({{"A", "southbound"}, {"S", "service"}}) + ",7",
         {},
         {{"southbound", "A"}, {"service", "S"}}},
        {"family matched, no service",
         addressEntry("A", {"southbound"}) + ",[]",
         {},
         {{"southbound", "A"}, {"service", ""}}},
        {"caller's service key was the match",
         addressEntries({{"S", "service"}}) + ",7",
         {{"service", "old"}},
         {{"service", ""}}},
        {"address of a matched tag", R"({"IP":{},"usage":["southbound"]})", {}, {{"service", ""}}},
        {"address of a tag that is not asked for",
         R"({"IP":{},"usage":["x"]},)" + addressEntry("A", {"southbound"}),
         {},
         {{"southbound", "A"}}},
        {"tag that is no text",
         R"({"IP":"A","usage":["southbound",{},"southbound2"]})",
         {},
         {{"southbound", "A"}, {"service", ""}}},
        {"object in place of the tags",
         R"({"IP":"A","usage":{"0":"southbound"}})",
         {},
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
    node.files.nodeList(R"({"nodeList":{"n1":{"extAttr":{"hostType":"standby"},"IPAddresses":[)" +
                        addressEntry("own", {"southbound"}) + R"(]},"source":{"IPAddresses":[)" +
                        addressEntry("10.0.0.7", {"service"}) + "," +
                        addressEntry("source", {"southbound"}) + "]}}}");
    EXPECT_EQ(askNumbered("southbound"), (Numbered{{{0, "source"}}, "10.0.0.7", "-"}));
    EXPECT_EQ(filled(askTagged()), (ByTag{{"southbound", "source"}}));
}

TEST(LocalNodeIPs, NothingLoaded_UsesTheNodeWithTheEmptyId) {
    support::Deployment files;
    files.nodeList(R"({"nodeList":{"":{"IPAddresses":[)" + addressEntry("A", {"southbound"}) +
                   "]}}}");
    EXPECT_EQ(askNumbered("southbound"), (Numbered{{{0, "A"}}}));
    EXPECT_EQ(filled(askTagged()), (ByTag{{"southbound", "A"}}));
}

} // namespace
