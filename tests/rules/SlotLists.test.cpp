#include "rules/SlotLists.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace Quarncommon::rules;

SlotMap shared(const std::map<int, std::string>& slots) {
    SlotMap map;
    for (const auto& [slot, address] : slots) {
        map[slot] = std::make_shared<const std::string>(address);
    }
    return map;
}

TEST(NorthSlotList, EachSetOfNumbers_HasItsText) {
    const struct {
        std::map<int, std::string> byNumber;
        const char* expected;
    } rows[] = {
        {{{0, "A"}}, "A;;;;"},
        {{{0, "A"}, {2, "B"}}, "A;B;;;"},
        {{{0, "A"}, {2, "B"}, {3, "C"}, {4, "D"}}, "A;B;C;D;"},
        {{{3, "K"}}, ";;K;;"},
        {{{4, "D"}}, ";;;D;"},
        {{{1, "X"}}, ";;;;X"},
        {{{0, "A"}, {1, "X"}}, "A;;;;X"},
        {{{0, "A"}, {5, "E"}, {7, "G"}}, "A;;;;E;G"},
        {{{INT_MIN, "L"}, {-1, "N"}, {1, "X"}, {5, "E"}, {INT_MAX, "Z"}}, ";;;;L;N;X;E;Z"},
        {{{0, ""}}, ";;;;"},
        {{{5, ""}}, ";;;;"},
        {{{5, ""}, {6, ""}}, ";;;;;"},
        {{{5, ""}, {6, "F"}, {7, ""}}, ";;;;;F;"},
        {{{2, "1;2"}}, ";1;2;;;"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(northSlotList(shared(row.byNumber), "S", "T", "M"), row.expected);
    }
}

TEST(NorthSlotList, NoNumber_IsTheServiceList) {
    EXPECT_EQ(northSlotList({}, "S", "T", "M"), "S;T");
    EXPECT_EQ(northSlotList({}, "", "T", "M"), "M");
}

TEST(ServiceList, EachCombination_FallsBackInOrder) {
    EXPECT_EQ(serviceList("S", "T", "M"), "S;T");
    EXPECT_EQ(serviceList("S", "", "M"), "S");
    EXPECT_EQ(serviceList("", "T", "M"), "M");
    EXPECT_EQ(serviceList("", "", "M"), "M");
    EXPECT_EQ(serviceList("", "", ""), "");
}

TEST(SouthSlotList, EachSetOfSlots_HasItsText) {
    const struct {
        std::map<int, std::string> bySlot;
        const char* expected;
    } rows[] = {
        {{{1, "A"}}, "A;;;;;;;;;"},
        {{{1, "A"}, {3, "K"}}, "A;;K;;;;;;;"},
        {{{1, "A"}, {10, "J"}, {12, "L"}}, "A;;;;;;;;;J;L"},
        {{{10, "J"}}, ";;;;;;;;;J"},
        {{{11, "K"}}, ";;;;;;;;;;K"},
        {{{1024, "Z"}}, ";;;;;;;;;;Z"},
        {{{1, ""}}, ";;;;;;;;;"},
        {{{11, ""}, {12, "L"}, {13, ""}}, ";;;;;;;;;;L"},
        {{}, ";;;;;;;;;"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(southSlotList(shared(row.bySlot), {true, true, "", ""}, "M"), row.expected);
    }
}

TEST(ProtocolFamily, EachListOfPieces_HasItsFamily) {
    const struct {
        std::list<std::string> pieces;
        int family;
    } rows[] = {
        {{}, 0},
        {{""}, 0},
        {{"10.0.0.1"}, 0},
        {{"fe80::1"}, 1},
        {{"10.0.0.1", "fe80::1"}, 2},
        {{"fe80::1", "10.0.0.1"}, 2},
        {{"::ffff:10.0.0.1"}, 1},
        {{"fe80::1", "host"}, 1},
        {{"host"}, 0},
        {{"::ffff:10.0.0.1", "", "10.0.0.1"}, 2},
        {{".", ":"}, 2},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(protocolFamily(row.pieces), row.family) << testing::PrintToString(row.pieces);
    }
}

} // namespace
