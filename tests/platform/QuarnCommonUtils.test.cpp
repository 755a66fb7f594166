// SPDX-License-Identifier: Apache-2.0
#include "QuarnCommonUtils.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <list>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

using Pieces = std::list<std::string>;

TEST(QuarnCommonUtilsSplit, EachText_IsSplitIntoItsPieces) {
    struct Row {
        std::string text;
        std::string separator;
        Pieces expected;
    };
    const std::vector<Row> rows{
        {"a", ";", {"a"}},
        {"a;b;c", ";", {"a", "b", "c"}},
        {"10.0.0.1;fd00::1", ";", {"10.0.0.1", "fd00::1"}},
        {"a;;b", ";", {"a", "", "b"}},
        {";", ";", {"", ""}},
        {";a;;", ";", {"", "a", "", ""}},
        {";;;;;;;;;", ";", Pieces(10, "")},
        {"", ";", {}},
        {"", "", {}},
        {"a;b", "", {"a;b"}},
        {"a;b", "; ", {"a;b"}},
        {"a; b;c; d", "; ", {"a", "b;c", "d"}},
        {"aaaaa", "aa", {"", "", "a"}},
        {"ab", "abc", {"ab"}},
        {"abc", "abc", {"", ""}},
        {"a\0b\0c"s, "\0"s, {"a", "b", "c"}},
        {"a\0;b"s, ";", {"a\0"s, "b"}},
        {"\xc3\xa9;\xff", ";", {"\xc3\xa9", "\xff"}},
    };
    for (const auto& [text, separator, expected] : rows) {
        Pieces pieces;
        QuarnCommonUtils::split(text, separator, pieces);
        EXPECT_EQ(pieces, expected)
            << testing::PrintToString(text) << " at " << testing::PrintToString(separator);
    }
}

TEST(QuarnCommonUtilsSplit, ListNotEmpty_IsAppendedTo) {
    Pieces pieces{"before"};
    QuarnCommonUtils::split("a;b", ";", pieces);
    QuarnCommonUtils::split("", ";", pieces);
    QuarnCommonUtils::split("c", ";", pieces);
    EXPECT_EQ(pieces, (Pieces{"before", "a", "b", "c"}));
}

TEST(QuarnCommonUtilsSplit, TextInsideTheList_IsSplitLikeAnyOther) {
    Pieces pieces{"a;b"};
    QuarnCommonUtils::split(pieces.front(), ";", pieces);
    EXPECT_EQ(pieces, (Pieces{"a;b", "a", "b"}));
}

class Quarngetenv : public testing::Test {
protected:
    Quarngetenv() { unsetenv(kName); }
    ~Quarngetenv() override { unsetenv(kName); }

    static constexpr const char* kName = "QUARNGETENV_TEST";
};

TEST_F(Quarngetenv, VariableSet_ReadOnEveryCall) {
    for (const std::string value : {"value", "0", " ", "a=b", "\xff"}) {
        ASSERT_EQ(setenv(kName, value.c_str(), 1), 0);
        EXPECT_EQ(QuarnCommonUtils::Quarngetenv(kName), value);
    }
}

TEST_F(Quarngetenv, VariableEmptyOrUnset_ReadsEmpty) {
    EXPECT_EQ(QuarnCommonUtils::Quarngetenv(kName), "");
    ASSERT_EQ(setenv(kName, "", 1), 0);
    EXPECT_EQ(QuarnCommonUtils::Quarngetenv(kName), "");
    EXPECT_EQ(QuarnCommonUtils::Quarngetenv(""), "");
}

TEST_F(Quarngetenv, ImpossibleName_ReadsEmpty) {
    ASSERT_EQ(setenv(kName, "a=b", 1), 0);
    EXPECT_EQ(QuarnCommonUtils::Quarngetenv(kName + "=a"s), "");
    EXPECT_EQ(QuarnCommonUtils::Quarngetenv(kName + "\0"s), "");
    EXPECT_EQ(QuarnCommonUtils::Quarngetenv(kName + "\0x"s), "");
    EXPECT_EQ(QuarnCommonUtils::Quarngetenv("quarngetenv_test"), "");
}

} // namespace
