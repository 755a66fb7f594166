#include "rules/NodeIPs.h"
#include "rules/Json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace Quarncommon::rules;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

struct Collected {
    std::map<int, std::string> byNumber;
    std::string service = "untouched";
    std::string service2 = "untouched";
};

Json::Value taggedEntry(const std::string& tag) {
    Json::Value list(Json::arrayValue);
    list[0]["IP"] = "A";
    list[0]["usage"][0] = tag;
    return list;
}

TEST(CollectByNumber, EachTag_NumberIsWhatStrtolReadsCutTo32Bits) {
    const struct {
        std::string rest;
        int number;
    } rows[] = {
        {"", 0},
        {"0", 0},
        {"1", 1},
        {"2", 2},
        {"10", 10},
        {"02", 2},
        {"010", 10},
        {"+2", 2},
        {"-5", -5},
        {" 2", 2},
        {"\t\n2", 2},
        {"2 ", 2},
        {"2x", 2},
        {"x", 0},
        {"x2", 0},
        {"- 2", 0},
        {"0x10", 0},
        {"1e3", 1},
        {"2\0"s
         "3",
         2},
        {"\0"s
         "2",
         0},
        {"2147483647", INT_MAX},
        {"2147483648", INT_MIN},
        {"-2147483648", INT_MIN},
        {"-2147483649", INT_MAX},
        {"4294967295", -1},
        {"4294967296", 0},
        {"4294967298", 2},
        // The ends of long, and beyond: saturated, then cut.
        {"9223372036854775807", -1},
        {"9223372036854775808", -1},
        {"99999999999999999999999", -1},
        {"-9223372036854775808", 0},
        {"-9223372036854775809", 0},
        {"-99999999999999999999999", 0},
        {"\xEF\xBC\x92", 0},
    };
    for (const auto& row : rows) {
        Collected seen;
        collectByNumber(Node(taggedEntry("northbound" + row.rest)), "northbound", seen.byNumber,
                        seen.service, seen.service2);
        EXPECT_THAT(seen.byNumber, ElementsAre(Pair(row.number, "A"))) << row.rest;
        EXPECT_EQ(seen.service, "untouched") << row.rest;
    }
}

TEST(CollectByNumber, PrefixInTheMiddle_CutsAtThePrefixsLength) {
    const struct {
        const char* tag;
        const char* prefix;
        int number;
    } rows[] = {
        {"pre-northbound5", "northbound", 0}, // leaves "ound5"
        {"12northbound5", "northbound", 0},   // leaves "nd5"
        {"xxxx7y", "y", 0},                   // leaves "xxx7y"
        {"x7y", "y", 7},                      // leaves "7y"
        {"service", "service", 0},
        {"service2", "service", 2},
        {"7", "", 7},
        {"anything", "", 0},
    };
    for (const auto& row : rows) {
        Collected seen;
        collectByNumber(Node(taggedEntry(row.tag)), row.prefix, seen.byNumber, seen.service,
                        seen.service2);
        EXPECT_THAT(seen.byNumber, ElementsAre(Pair(row.number, "A"))) << row.tag;
        EXPECT_EQ(seen.service, "untouched") << row.tag;
        EXPECT_EQ(seen.service2, "untouched") << row.tag;
    }
}

TEST(CollectByNumber, ErrorPartWay_KeepsWhatWasCollected) {
    Collected seen;
    EXPECT_THROW(collectByNumber(Node(json(R"([{"IP":"S","usage":["service"]},
                                          {"IP":"A","usage":["n2",[],"n3"]}])")),
                                 "n", seen.byNumber, seen.service, seen.service2),
                 Json::Exception);
    EXPECT_THAT(seen.byNumber, ElementsAre(Pair(2, "A")));
    EXPECT_EQ(seen.service, "S");
}

TEST(CollectByNumber, ObjectsInPlaceOfArrays_AreWalkedInKeyOrder) {
    Collected seen;
    collectByNumber(Node(json(R"({"b":{"IP":"B","usage":["n2","service"]},
                             "a":{"IP":"A","usage":{"y":"service","x":"n2"}}})")),
                    "n", seen.byNumber, seen.service, seen.service2);
    EXPECT_THAT(seen.byNumber, ElementsAre(Pair(2, "A")));
    EXPECT_EQ(seen.service, "B");
}

TEST(CollectByNumber, WrongTypeOfAnIPWithoutTags_EndsTheWalkAllTheSame) {
    // The address is read once an entry, before its tags.
    Collected seen;
    EXPECT_THROW(collectByNumber(Node(json(R"([{"IP":{},"usage":[]},{"IP":"A","usage":["n"]}])")),
                                 "n", seen.byNumber, seen.service, seen.service2),
                 Json::Exception);
    EXPECT_THAT(seen.byNumber, IsEmpty());
}

TEST(SouthboundSlot, EachTag_NamesItsSlotOrNone) {
    const struct {
        std::string tag;
        int slot;
    } rows[] = {
        {"southbound", 1},
        {"southbound1", 0},
        {"southbound2", 2},
        {"southbound9", 9},
        {"southbound10", 10},
        {"southbound1023", 1023},
        {"southbound1024", 1024},
        {"southbound1025", 0},
        {"southbound9999", 0},
        {"southbound0", 0},
        {"southbound02", 0},
        {"southbound00", 0},
        {"southbound+2", 0},
        {"southbound-2", 0},
        {"southbound 2", 0},
        {"southbound2 ", 0},
        {"southbound2x", 0},
        {"southboundx", 0},
        {"xsouthbound", 0},
        {"xsouthbound2", 0},
        {"Southbound2", 0},
        {"southboun", 0},
        {"", 0},
        {"southbound2\0"s, 0},
        {"southbound\0"s, 0},
        {"southbound4294967298", 0},
        {"southbound18446744073709551618", 0},
        {"service", 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(southboundSlot(row.tag, "southbound"), row.slot) << row.tag;
    }
}

TEST(CollectByTag, TagsOfTheFamily_LastAddressCountsAndServiceStaysApart) {
    std::string slot = "old";
    TagWalk seen;
    collectByTag(
        Node(json(R"([{"IP":"A","usage":["X"]},{"IP":"B","usage":["x","service"]},
                 {"IP":"S","usage":["SERVICE"]},{"IP":"T","usage":["service2","y"]}])")),
        [&](const std::string& tag) { return tag == "x" ? &slot : nullptr; }, seen);
    EXPECT_EQ(slot, "B");
    EXPECT_TRUE(seen.matched);
    EXPECT_EQ(seen.service, "S");
    EXPECT_EQ(seen.service2, "T");
}

TEST(CollectByTag, NoTagOfTheFamily_IsNoMatch) {
    TagWalk seen;
    collectByTag(
        Node(json(R"([{"IP":"S","usage":["service","z"]}])")),
        [](const std::string&) -> std::string* { return nullptr; }, seen);
    EXPECT_FALSE(seen.matched);
    EXPECT_EQ(seen.service, "S");
    EXPECT_EQ(seen.service2, "");
}

TEST(CollectByTag, ErrorPartWay_TellsWhatWasSeen) {
    TagWalk seen;
    EXPECT_THROW(
        collectByTag(
            Node(json(R"([{"IP":"S","usage":["service"]},{"IP":[],"usage":["service2"]}])")),
            [](const std::string&) -> std::string* { return nullptr; }, seen),
        Json::Exception);
    EXPECT_EQ(seen.service, "S");
}

} // namespace
