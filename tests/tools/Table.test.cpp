// SPDX-License-Identifier: Apache-2.0

#include "render/Table.h"

#include <gtest/gtest.h>

namespace {

using sysconfctl::table;
using sysconfctl::TableRow;

TEST(Table, Sections_HaveATitleEachAndABlankLineBetween) {
    const std::vector<TableRow> rows = {
        {"One", "a", {{"1"}}}, {"One", "bcd", {{"2"}}}, {"Two", "e", {{"3"}}}};
    EXPECT_EQ(table(rows, 80), "One\n"
                               "  a    1\n"
                               "  bcd  2\n"
                               "\n"
                               "Two\n"
                               "  e    3\n");
}

TEST(Table, LongCells_AreWrappedWithTheirIndent) {
    const std::vector<TableRow> rows = {
        {"", "label", {{"key  one, two, three, four, five, six", 5}, {"next"}}}};
    EXPECT_EQ(table(rows, 40), "  label  key  one, two, three, four,\n"
                               "              five, six\n"
                               "         next\n");
}

TEST(Table, LongLabels_LeaveMoreThanHalfToTheCells) {
    const std::vector<TableRow> rows = {
        {"", "a-rather-long query with arguments", {{"the cell of this query"}}}};
    EXPECT_EQ(table(rows, 40), "  a-rather-long       the cell of this\n"
                               "    query with        query\n"
                               "    arguments\n");
}

TEST(Table, WideAndCombiningCharacters_StayAligned) {
    const std::vector<TableRow> rows = {{"", "\xe4\xb8\xad\xe6\x96\x87", {{"1"}}},
                                        {"", "e\xcc\x81", {{"2"}}},
                                        {"", "abcd", {{"3"}}}};
    EXPECT_EQ(table(rows, 40), "  \xe4\xb8\xad\xe6\x96\x87  1\n"
                               "  e\xcc\x81     2\n"
                               "  abcd  3\n");
}

TEST(Table, NothingToShow_IsNoText) {
    EXPECT_EQ(table({}, 80), "");
    EXPECT_EQ(table({{"", "label", {{""}}}}, 80), "  label\n");
}

} // namespace
