// SPDX-License-Identifier: Apache-2.0

#include "render/Text.h"

#include <gmock/gmock.h>

namespace {

using namespace sysconfctl;
using ::testing::ElementsAre;

struct Row {
    std::string text;
    std::string expected;
};

TEST(Text, WhatATerminalWouldNotShow_IsEscaped) {
    const Row rows[] = {
        {"", ""},
        {"plain ~!", "plain ~!"},
        {"a\\b", "a\\\\b"},
        {"\t\n\r", "\\t\\n\\r"},
        {"\033[31m", "\\x1b[31m"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"\x7f", "\\x7f"},
        {"\xc2\x9b", "\\u009b"},             // a C1 control: starts an escape sequence
        {"\xe2\x80\xae", "\\u202e"},         // changes the reading direction
        {"\xe2\x80\x8b", "\\u200b"},         // invisible
        {"\xf3\xa0\x80\xa0", "\\U000e0020"}, // invisible tag
        {"\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80", "\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80"},
        {"\xff", "\\xff"},                            // not UTF-8
        {"\xc3", "\\xc3"},                            // cut off
        {"\xc3(", "\\xc3("},                          // wrong second byte
        {"\xc0\xaf", "\\xc0\\xaf"},                   // overlong
        {"\xe0\x80\xaf", "\\xe0\\x80\\xaf"},          // overlong
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"},          // surrogate
        {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"}, // beyond Unicode
    };
    for (const Row& row : rows) {
        EXPECT_EQ(escaped(row.text), row.expected);
    }
}

TEST(Text, Utf8_IsWhatSystemdAccepts) {
    for (const char* text :
         {"", "a\t\n\033", "\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80", "\xf3\xb0\x80\x80"}) {
        EXPECT_TRUE(isUtf8(text)) << escaped(text);
    }
    for (const char* text : {"a\xff", "a\xc3", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80",
                             "\xef\xbf\xbe", "\xef\xb7\x90", "\xf0\x9f\xbf\xbf"}) {
        EXPECT_FALSE(isUtf8(text)) << escaped(text);
    }
}

TEST(Text, Width_IsWhatATerminalNeeds) {
    EXPECT_EQ(displayWidth(""), 0U);
    EXPECT_EQ(displayWidth("abc"), 3U);
    EXPECT_EQ(displayWidth("\xc3\xa9"), 1U);
    EXPECT_EQ(displayWidth("e\xcc\x81"), 1U);                // with a combining accent
    EXPECT_EQ(displayWidth("\xe4\xb8\xad\xe6\x96\x87"), 4U); // wide characters
    EXPECT_EQ(displayWidth("\xf0\x9f\x98\x80"), 2U);
}

TEST(Text, Wrapping_BreaksAfterSeparators) {
    EXPECT_THAT(wrapped("", 5), ElementsAre(""));
    EXPECT_THAT(wrapped("abc", 3), ElementsAre("abc"));
    EXPECT_THAT(wrapped("ab cd ef", 5), ElementsAre("ab cd", "ef"));
    EXPECT_THAT(wrapped("ab, cd, ef", 4), ElementsAre("ab,", "cd,", "ef"));
    EXPECT_THAT(wrapped("ab, cd, ef", 3), ElementsAre("ab,", "cd,", "ef"));
    EXPECT_THAT(wrapped("a;b;;c", 4), ElementsAre("a;b;", ";c"));
    EXPECT_THAT(wrapped("/usr/lib", 6), ElementsAre("/usr/", "lib"));
}

TEST(Text, WrappingOfWords_CutsNoWord) {
    EXPECT_THAT(wrappedWords("a bc def", 4), ElementsAre("a bc", "def"));
    EXPECT_THAT(wrappedWords("at 2001:db8::1/64, so", 6),
                ElementsAre("at", "2001:db8::1/64,", "so"));
    EXPECT_THAT(wrappedWords("192.0.2.1", 3), ElementsAre("192.0.2.1"));
    EXPECT_THAT(wrappedWords("a;b;;c", 3), ElementsAre("a;b;;c"));
    EXPECT_THAT(wrappedWords("192.0.2.1;192.0.2.2;;", 11, ";"),
                ElementsAre("192.0.2.1;", "192.0.2.2;;"));
    EXPECT_THAT(wrappedWords("", 3), ElementsAre(""));
}

TEST(Text, Wrapping_CutsWhatHasNoSeparator) {
    EXPECT_THAT(wrapped("abcdefg", 3), ElementsAre("abc", "def", "g"));
    EXPECT_THAT(wrapped("\xe4\xb8\xad\xe6\x96\x87", 3),
                ElementsAre("\xe4\xb8\xad", "\xe6\x96\x87"));
    EXPECT_THAT(wrapped("\xe4\xb8\xad\xe6\x96\x87", 1),
                ElementsAre("\xe4\xb8\xad", "\xe6\x96\x87"));
    EXPECT_THAT(wrapped("ae\xcc\x81z", 2), ElementsAre("ae\xcc\x81", "z"));
}

TEST(Text, ShellWords_AreQuotedWhenTheyMustBe) {
    const Row rows[] = {
        {"orders", "orders"},
        {"a-b_c.d/e:f@g%h+i=j,k", "a-b_c.d/e:f@g%h+i=j,k"},
        {"", "''"},
        {"a b", "'a b'"},
        {"$x", "'$x'"},
        {"it's", "$'it\\'s'"},
        {"a\nb", "$'a\\nb'"},
        {"a\\b", "$'a\\\\b'"},
        {"\033[1m", "$'\\x1b[1m'"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(shellWord(row.text), row.expected);
    }
}

} // namespace
