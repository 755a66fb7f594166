// SPDX-License-Identifier: Apache-2.0

#include "cli/ShellLine.h"

#include <gmock/gmock.h>

namespace {

using namespace sysconfctl;
using ::testing::ElementsAreArray;

constexpr const char* kBreaks = " \t\n\"'@><=;|&(:";

struct Row {
    const char* line;
    std::vector<std::string> words;
    char quote = 0;
    std::size_t kept = 0;
    bool redirection = false;
};

const std::vector<Row> kRows = {
    {"", {""}},
    {"t", {"t"}},
    {"t ", {"t", ""}},
    {"  t\t a  b", {"t", "a", "b"}},
    {"t a\\ b", {"t", "a b"}},
    {"t a\\", {"t", "a"}},
    {"t 'a b' c", {"t", "a b", "c"}},
    {"t '' ", {"t", "", ""}},
    {"t x'a \\", {"t", "xa \\"}, '\'', 1},
    {"t \"a \\\"b\\c\\$", {"t", "a \"b\\c$"}, '"', 0},
    {"t $'a\\'b\\\\c\\n", {"t", "a'b\\c\\n"}, '$', 0},
    {"t 'a'\"b\"$'c'd", {"t", "abcd"}},
    {"t $(touch x) `y`", {"t", "$", "touch", "x", "`y`"}},
    {"t --output=js", {"t", "--output=js"}, 0, 9},
    {"t a:b\\:c", {"t", "a:b:c"}, 0, 2},
    {"t a:'b=c'd", {"t", "a:b=cd"}, 0, 2},
    {"t a='b=", {"t", "a=b="}, '\'', 2},
    {"t 2>/dev/null a", {"t", "a"}},
    {"t a>f b", {"t", "a", "b"}},
    {"t a > f", {"t", "a", "f"}, 0, 0, true},
    {"t < ", {"t", ""}, 0, 0, true},
};

TEST(ShellLine, Line_IsSplitWithoutExpansion) {
    for (const Row& row : kRows) {
        const ShellLine line = readShellLine(row.line, kBreaks);
        EXPECT_THAT(line.words, ElementsAreArray(row.words)) << row.line;
        EXPECT_EQ(line.quote, row.quote) << row.line;
        EXPECT_EQ(line.kept, row.kept) << row.line;
        EXPECT_EQ(line.redirection, row.redirection) << row.line;
    }
}

TEST(ShellLine, QuotedText_ReadsAsItself) {
    const std::string hostile = "a b'c\"d\\e$f`g;h!i*j?k[l]m{n}o~p#q&r|s<t>u(v)w^x%y=z:\xc3\xbc";
    for (const char* open : {"", "'", "\"", "$'"}) {
        const char quote = *open;
        const std::string line = std::string("t ") + open + shellQuoted(hostile, quote);
        // Quotes are closed and reopened around a character that they cannot contain.
        EXPECT_EQ(readShellLine(line, "").words.back(), hostile) << line;
        EXPECT_EQ(readShellLine(line, "").quote, quote) << line;
    }
    EXPECT_EQ(shellQuoted("APP_ROOT=", 0), "APP_ROOT=");
    EXPECT_EQ(shellQuoted("a!", '"'), "a\"'!'\"");
    EXPECT_EQ(shellQuoted("a$", '"'), "a\\$");
    EXPECT_EQ(shellQuoted("a'", '\''), "a'\\''");
}

} // namespace
