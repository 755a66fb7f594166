// SPDX-License-Identifier: Apache-2.0
#include "JsonReader.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

bool accepts(const std::string& text) {
    Json::Value value;
    return JsonReader(false).parse(text, value);
}

std::string oneByte(int byte) {
    std::string text(1, static_cast<char>(byte));
    return text;
}

bool isWhiteSpace(int byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

void expectEach(const std::vector<std::string>& texts, bool accepted) {
    for (const std::string& text : texts) {
        EXPECT_EQ(accepts(text), accepted) << testing::PrintToString(text.substr(0, 200));
    }
}

// Contains every kind of token. Each of its proper prefixes is incomplete.
const std::string kDocument =
    "{ \"a\\\"\\u00e9\" : [ 0 , -1.5e+3 , true , false , null , \"\\ud83d\\ude00\\n\" , [ ] , { } "
    "] , \"b\" : { \"c\" : \"\xc3\xa9\" } }";

TEST(JsonReaderStrict, WhiteSpace_AcceptedAroundEveryToken) {
    expectEach({"1", " 1", "1 ", "\t\r\n 1 \t\r\n", "[ ]", "{ }", "[\n1\n,\n2\n]",
                "{\t\"a\"\t:\t1\t,\t\"b\"\t:\t2\t}"},
               true);
}

TEST(JsonReaderStrict, NothingButWhiteSpace_Refused) {
    expectEach({"", " ", "\t\r\n "}, false);
}

TEST(JsonReaderStrict, AnyOtherSpace_Refused) {
    expectEach({"\v1", "1\f", "1\b", "\xc2\xa0[]", "1\xe2\x80\xa8", "\xe3\x80\x80[]"}, false);
}

TEST(JsonReaderStrict, Literals_AcceptedAsRootAndInside) {
    expectEach({"true", "false", "null", "[true,false,null]", "{\"a\":null}"}, true);
}

TEST(JsonReaderStrict, LiteralsMisspelled_Refused) {
    expectEach({"t", "tru", "truE", "True", "TRUE", "truee", "true1", "f", "fals", "False", "n",
                "nul", "Null", "nulll", "nil", "none", "undefined", "truefalse", "tr ue"},
               false);
}

TEST(JsonReaderStrict, Numbers_AcceptedByTheGrammar) {
    expectEach({"0",     "-0",     "1",      "-1",      "10",      "1234567890", "0.0",     "0.5",
                "-0.5",  "10.250", "1e5",    "1E5",     "1e+5",    "1e-5",       "1.5e10",  "0e0",
                "-0E-0", "1e00",   "1e0007", "0.00001", "-1.0E-3", "[0,0]",      "[-0.1e1]"},
               true);
}

TEST(JsonReaderStrict, NumbersBeyondDouble_AcceptedByTheGrammar) {
    const std::string nines(400, '9');
    const std::string zeros(400, '0');
    expectEach({"1e309",
                "-1e309",
                "1e400",
                "0e400",
                "-0e400",
                "0.0e9999",
                "1e-400",
                "1e99999999999",
                "1e-99999999999",
                nines,
                "-" + nines,
                nines + ".5",
                "0." + nines,
                "0." + zeros + "1",
                "0." + zeros + "1e401",
                "1" + zeros + "e-400",
                nines + "e" + nines,
                "[" + nines + "]",
                "{\"1e400\":1E400}",
                "[1e400,1,1e400]",
                "1e" + zeros},
               true);
}

TEST(JsonReaderStrict, NumbersOutsideTheGrammar_Refused) {
    const std::string nines(400, '9');
    expectEach({"00",  "01",   "-01",  "-",    "--1",   "+1",       "+",        ".5",    "-.5",
                "1.",  "-1.",  "1.e5", "1e",   "1e+",   "1E-",      "1e5.5",    "1.2.3", "1 2",
                "- 1", "1 .5", "1e 5", "0x10", "1_000", "1,000",    "1f",       "1e5e5", "e5",
                "NaN", "-NaN", "nan",  "inf",  "-inf",  "Infinity", "-Infinity"},
               false);
    expectEach({"1e400.5",
                "01e400",
                "+1e400",
                "1e400e",
                "1e400-",
                "1.e400",
                ".1e400",
                "0" + nines,
                nines + ".",
                nines + "e",
                nines + nines + "-",
                "-0" + nines,
                "1e400 1e400",
                "[1e400 1]",
                "[1e400,01]",
                "x1e400",
                "[1e400,01e5]",
                "[1e400,-01e5]",
                "[1e400,+1e5]",
                "[1e400,1.e5]",
                "[1e400,.1e5]",
                "[1e400,-e5]",
                "[1e400,1e5.5]",
                "[1e400,1e]",
                "[1e400,1e+]",
                "[1e400,e5]",
                "[1e400,1e5-]",
                "[1e400,1-1e5]"},
               false);
}

TEST(JsonReaderStrict, Strings_AcceptedByTheGrammar) {
    expectEach({"\"\"",       "\"a\"",   "\" \"",       "\"/\"",       R"("\"")",
                R"("\\")",    R"("\/")", R"("\b")",     R"("\f")",     R"("\n")",
                R"("\r")",    R"("\t")", R"("\u0000")", R"("\uFFFF")", R"("\uabcd")",
                R"("\\u12")", "\"[1,\"", "\"'\"",       "\"//\"",      "\"\x7f\""},
               true);
}

TEST(JsonReaderStrict, SurrogateEscapes_AcceptedPairedOrAlone) {
    expectEach({R"("\ud83d\ude00")", R"("\uD800")", R"("\uDBFF")", R"("\uDC00")", R"("\uDFFF")",
                R"("\uDEAD")", R"("\ude00\ud83d")", R"("\ud800\ud800")", R"("\ud800x")",
                R"("\ud800\n")", R"("\ud800\u0041")", R"("\ud800\"")", R"({"\ud800":1})"},
               true);
}

TEST(JsonReaderStrict, SurrogateEscapesInWrongTexts_Refused) {
    expectEach({"\"\\ud800", R"("\ud800\)", R"("\ud800\u)", R"("\ud800\u")", R"("\ud800\udc0")",
                R"("\ud800\udc0g")", R"("\ud800\x")", R"("\ud800"")", R"(["\ud800",])",
                R"(["\ud800",01])", "\\ud800", "[\\ud800]", R"(["\ud800",\ud800])", "\"\\ud800\n\"",
                R"("\ud8")", R"("\ud800" \udc00)"},
               false);
}

TEST(JsonReaderStrict, StringsOutsideTheGrammar_Refused) {
    expectEach({"\"", "\"a", "a\"", "'a'", R"("\")", R"("\a")", R"("\x41")", R"("\u")",
                R"("\u123")", "\"\\u123", R"("\U0041")", R"("\u 041")", R"("\u-041")",
                R"("\u+041")", R"("\u0x41")", R"("a""b")", "\"a\nb\"", "\"a\tb\"", R"(\"a")"},
               false);
}

TEST(JsonReaderStrict, Arrays_AcceptedByTheGrammar) {
    expectEach({"[]", "[1]", "[1,2]", "[[]]", "[[],[[]],{}]", R"(["a",1,null,{"a":[]}])"}, true);
}

TEST(JsonReaderStrict, ArraysOutsideTheGrammar_Refused) {
    expectEach({"[", "]", "[1", "[,]", "[1,]", "[,1]", "[1,,2]", "[1 2]", "[1;2]", "[1:2]", "[}",
                "(1)", "[1]]", "[[1]", "[\"a\":1]", "[...]"},
               false);
}

TEST(JsonReaderStrict, Objects_AcceptedByTheGrammar) {
    expectEach({"{}", "{\"a\":1}", "{\"\":1}", R"({"a":{},"b":[]})", R"({"a":1,"a":2})",
                R"({"\u0000":1})"},
               true);
}

TEST(JsonReaderStrict, ObjectsOutsideTheGrammar_Refused) {
    expectEach({"{",
                "}",
                "{\"a\"",
                "{\"a\":",
                "{\"a\":1",
                "{\"a\"}",
                "{\"a\":}",
                "{:1}",
                "{a:1}",
                "{'a':1}",
                "{1:1}",
                "{null:1}",
                "{\"a\"=1}",
                "{\"a\" 1}",
                "{\"a\":1,}",
                "{,}",
                "{,\"a\":1}",
                R"({"a":1,,"b":1})",
                R"({"a":1 "b":1})",
                R"({"a":1;"b":1})",
                "{\"a\"::1}",
                "{\"a\":1:2}",
                "{]",
                "{\"a\":1]",
                "{[]:1}",
                "{\"a\":1}}"},
               false);
}

TEST(JsonReaderStrict, AnythingAfterTheValue_Refused) {
    expectEach({"1 1", "{} {}", "[],", "[]:", "\"a\" b", "null,", "{}x", "1\n2", "{};", "[] // end",
                "[]/**/", "[]#", "{}\xef\xbb\xbf"},
               false);
}

TEST(JsonReaderStrict, Comments_Refused) {
    expectEach({"// a\n1", "/* a */1", "1// a", "1/* a */", "[1/**/,2]", "{\"a\"/**/:1}", "# a\n1",
                "<!-- a -->1"},
               false);
}

TEST(JsonReaderStrict, ByteOrderMarks_Refused) {
    expectEach(
        {"\xef\xbb\xbf[]", "\xef\xbb\xbf{}", "\xff\xfe[\0]\0"s, "\xfe\xff\0[\0]"s, "\xef\xbb\xbf"},
        false);
}

TEST(JsonReaderStrict, OneByte_AcceptedIfADigit) {
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(accepts(oneByte(byte)), byte >= '0' && byte <= '9') << byte;
    }
}

TEST(JsonReaderStrict, OneByteInAnArray_AcceptedIfADigitOrWhiteSpace) {
    for (int byte = 0; byte < 256; ++byte) {
        const bool expected = (byte >= '0' && byte <= '9') || isWhiteSpace(byte);
        EXPECT_EQ(accepts("[" + oneByte(byte) + "]"), expected) << byte;
    }
}

TEST(JsonReaderStrict, OneByteBesideTheValue_AcceptedIfWhiteSpace) {
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(accepts(oneByte(byte) + "{}"), isWhiteSpace(byte)) << byte;
        EXPECT_EQ(accepts("{}" + oneByte(byte)), isWhiteSpace(byte)) << byte;
    }
}

TEST(JsonReaderStrict, OneByteInAString_RefusedIfControlQuoteOrBackslash) {
    for (int byte = 0; byte < 256; ++byte) {
        const bool expected = byte >= 0x20 && byte != '"' && byte != '\\';
        EXPECT_EQ(accepts("\"" + oneByte(byte) + "\""), expected) << byte;
        EXPECT_EQ(accepts("{\"" + oneByte(byte) + "\":1}"), expected) << byte;
    }
}

TEST(JsonReaderStrict, OneByteEscaped_AcceptedIfTheGrammarNamesIt) {
    const std::string named = "\"\\/bfnrt";
    for (int byte = 0; byte < 256; ++byte) {
        const bool expected = named.find(static_cast<char>(byte)) != std::string::npos;
        EXPECT_EQ(accepts("\"\\" + oneByte(byte) + "\""), expected) << byte;
    }
}

TEST(JsonReaderStrict, OneByteInAUnicodeEscape_AcceptedIfHexadecimal) {
    for (const std::string escape : {R"("\u0041")", R"("\ud800")", R"("\ud83d\ude00")"}) {
        for (std::size_t at = escape.size() - 5; at < escape.size() - 1; ++at) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string text = escape;
                text[at] = static_cast<char>(byte);
                EXPECT_EQ(accepts(text), byte < 128 && std::isxdigit(byte) != 0)
                    << testing::PrintToString(text);
            }
        }
    }
}

TEST(JsonReaderStrict, TextCutAnywhere_Refused) {
    ASSERT_TRUE(accepts(kDocument));
    for (std::size_t length = 0; length < kDocument.size(); ++length) {
        EXPECT_FALSE(accepts(kDocument.substr(0, length))) << kDocument.substr(0, length);
    }
}

TEST(JsonReaderStrict, NulByteInsertedAnywhere_Refused) {
    for (std::size_t at = 0; at <= kDocument.size(); ++at) {
        EXPECT_FALSE(accepts(std::string(kDocument).insert(at, 1, '\0'))) << at;
    }
    expectEach({"\0"s, "1\0"s, "\0[]"s, "1 \0 "s, "1e400\0"s, "\"\\ud800\"\0"s, "[1]\0[1]"s,
                "tr\0ue"s, "{}\0[]"s},
               false);
}

} // namespace
