// SPDX-License-Identifier: Apache-2.0
#include "JsonReader.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <locale>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;

Json::Value strict(const std::string& text) {
    Json::Value value("not replaced");
    EXPECT_TRUE(JsonReader(false).parse(text, value)) << testing::PrintToString(text);
    return value;
}

struct Row {
    std::string text;
    Json::Value expected;
};

/// Compares types and bits, because -0.0 == 0.0.
void expectEach(const std::vector<Row>& rows) {
    for (const auto& [text, expected] : rows) {
        const Json::Value value = strict(text);
        EXPECT_EQ(value.type(), expected.type()) << testing::PrintToString(text);
        EXPECT_EQ(value, expected) << testing::PrintToString(text);
        if (value.type() == Json::realValue && expected.type() == Json::realValue) {
            EXPECT_EQ(std::bit_cast<std::uint64_t>(value.asDouble()),
                      std::bit_cast<std::uint64_t>(expected.asDouble()))
                << text << " gave " << value.asDouble() << " for " << expected.asDouble();
        }
    }
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(JsonReaderStrict, Literals_BecomeTheirTypes) {
    expectEach({{"null", Json::Value()}, {"true", true}, {"false", false}});
}

TEST(JsonReaderStrict, WholeNumbers_TypedByWhatHoldsThem) {
    expectEach({{"0", 0},
                {"-0", 0},
                {"7", 7},
                {"-7", -7},
                {"2147483647", 2147483647},
                {"2147483648", Json::Int64(2147483648)},
                {"-2147483648", Json::Int64(-2147483648)},
                {"4294967296", Json::Int64(4294967296)},
                {"9223372036854775807", std::numeric_limits<Json::Int64>::max()},
                {"-9223372036854775808", std::numeric_limits<Json::Int64>::min()},
                {"9223372036854775808", Json::UInt64(9223372036854775808U)},
                {"18446744073709551615", std::numeric_limits<Json::UInt64>::max()},
                {"18446744073709551616", 18446744073709551616.0},
                {"-9223372036854775809", -9223372036854775808.0},
                {"100000000000000000000000", 1e23}});
}

TEST(JsonReaderStrict, NumbersWithFractionOrExponent_BecomeRealValues) {
    expectEach({{"0.0", 0.0},
                {"-0.0", -0.0},
                {"-0e1", -0.0},
                {"1.0", 1.0},
                {"1e2", 100.0},
                {"1E+2", 100.0},
                {"25e-1", 2.5},
                {"-1.5", -1.5},
                {"0.1", 0.1},
                {"3.141592653589793", 3.141592653589793}});
}

TEST(JsonReaderStrict, NumbersHardToRound_RoundedCorrectly) {
    const std::string zeros(400, '0');
    expectEach({// Half way between two doubles, then a trace above it.
                {"9007199254740993.0", 9007199254740992.0},
                {"9007199254740993.0" + zeros + "1", 9007199254740994.0},
                {"9007199254740995.0", 9007199254740996.0},
                {"1.7976931348623157e308", std::numeric_limits<double>::max()},
                {"1.7976931348623158e308", std::numeric_limits<double>::max()},
                {"17976931348623157" + std::string(292, '0'), std::numeric_limits<double>::max()},
                {"2.2250738585072011e-308", 2.2250738585072011e-308},
                {"2.2250738585072014e-308", std::numeric_limits<double>::min()},
                {"4.9e-324", std::numeric_limits<double>::denorm_min()},
                {"2.4703282292062328e-324", std::numeric_limits<double>::denorm_min()},
                {"1" + zeros + "e-400", 1.0},
                {"0." + zeros + "1e401", 1.0},
                {"-123" + zeros + "e-399", -1230.0}});
}

TEST(JsonReaderStrict, NumbersOutOfRange_BecomeInfinityOrZero) {
    const std::string nines(400, '9');
    expectEach({{"1e309", kInfinity},
                {"-1e309", -kInfinity},
                {"1.7976931348623159e308", kInfinity},
                {"1e400", kInfinity},
                {"-1E+400", -kInfinity},
                {"1e99999999999999999999", kInfinity},
                {nines, kInfinity},
                {"-" + nines, -kInfinity},
                {nines + ".5e9", kInfinity},
                {"0e400", 0.0},
                {"-0.0e400", -0.0},
                {"0e99999999999999999999", 0.0},
                {"1e-400", 0.0},
                {"-1e-400", -0.0},
                {"2.4703282292062327e-324", 0.0},
                {"1e-99999999999999999999", 0.0},
                {"0." + std::string(400, '0') + "1", 0.0}});
}

TEST(JsonReaderStrict, NumbersBesideOneOutOfRange_KeepTypeAndValue) {
    const Json::Value value = strict("[1e400,-0,1,9223372036854775808,2.5,\"1e400\",\"\\\"1e400\","
                                     "{\"1e400\":-1e400,\"\\\\\":1e5}]");
    Json::Value expected(Json::arrayValue);
    expected.append(kInfinity);
    expected.append(0);
    expected.append(1);
    expected.append(Json::UInt64(9223372036854775808U));
    expected.append(2.5);
    expected.append("1e400");
    expected.append("\"1e400");
    expected[7]["1e400"] = -kInfinity;
    expected[7]["\\"] = 1e5;
    EXPECT_EQ(value, expected);
    EXPECT_EQ(value[1].type(), Json::intValue);
    EXPECT_EQ(value[2].type(), Json::intValue);
}

TEST(JsonReaderStrict, NumberOutOfRange_LeavesErrnoUnchanged) {
    errno = ELOOP;
    strict("[1e400,1e-400,1.5]");
    EXPECT_EQ(errno, ELOOP);
}

TEST(JsonReaderStrict, Escapes_BecomeTheirBytes) {
    expectEach({{R"("\"\\\/\b\f\n\r\t")", "\"\\/\b\f\n\r\t"},
                {R"("\u0041\u00e9\u20AC\uffff")", "A\xc3\xa9\xe2\x82\xac\xef\xbf\xbf"},
                {R"("\u007f\u0080\u07FF\u0800")", "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80"},
                {R"("\ud83d\ude00\uD800\uDC00\udbff\udfff")",
                 "\xf0\x9f\x98\x80\xf0\x90\x80\x80\xf4\x8f\xbf\xbf"},
                {R"("a\u0000b\u0000")", "a\0b\0"s},
                {R"("\\u0041")", "\\u0041"}});
}

TEST(JsonReaderStrict, SingleSurrogates_BecomeTheirThreeBytes) {
    expectEach({{R"("\uD800")", "\xed\xa0\x80"},
                {R"("\uDBFF")", "\xed\xaf\xbf"},
                {R"("\uDC00")", "\xed\xb0\x80"},
                {R"("\uDFFF")", "\xed\xbf\xbf"},
                {R"("\uDEAD")", "\xed\xba\xad"},
                {R"("<\ud83d>")", "<\xed\xa0\xbd>"},
                {R"("\ude00\ud83d")", "\xed\xb8\x80\xed\xa0\xbd"},
                {R"("\ud83d\ud83d\ude00\ude00")", "\xed\xa0\xbd\xf0\x9f\x98\x80\xed\xb8\x80"},
                {R"("\ud800\u0041\ud800\n")", "\xed\xa0\x80"
                                              "A\xed\xa0\x80\n"},
                {R"("\\ud800\ud800")", "\\ud800\xed\xa0\x80"},
                {R"("\ud800\\udc00")", "\xed\xa0\x80\\udc00"}});
}

TEST(JsonReaderStrict, BytesFrom0x80_AreKeptVerbatim) {
    std::string bytes;
    for (int byte = 0x80; byte < 0x100; ++byte) {
        bytes += static_cast<char>(byte);
    }
    EXPECT_EQ(strict("\"" + bytes + "\"").asString(), bytes);
    EXPECT_EQ(strict("{\"" + bytes + "\":1}").getMemberNames(), std::vector{bytes});
}

TEST(JsonReaderStrict, MemberNames_ContainAnyBytes) {
    const Json::Value value = strict(R"({"a\u0000b":1,"a":2,"":3,"\ud800":4,"\u00e9":5})");
    EXPECT_EQ(value.getMemberNames(),
              (std::vector{""s, "a"s, "a\0b"s, "\xc3\xa9"s, "\xed\xa0\x80"s}));
    EXPECT_EQ(value["a\0b"s], Json::Value(1));
}

TEST(JsonReaderStrict, Containers_KeepOrderAndNesting) {
    const Json::Value value = strict(R"({"b":[3,[],{"c":[true]}],"a":{},"d":[{"e":null}]})");
    Json::Value expected;
    expected["b"][0] = 3;
    expected["b"][1] = Json::Value(Json::arrayValue);
    expected["b"][2]["c"][0] = true;
    expected["a"] = Json::Value(Json::objectValue);
    expected["d"][0]["e"] = Json::Value();
    EXPECT_EQ(value, expected);
    EXPECT_EQ(value["b"][1].type(), Json::arrayValue);
    EXPECT_EQ(value["a"].type(), Json::objectValue);
}

TEST(JsonReaderStrict, RepeatedMemberName_LastValueWins) {
    Json::Value list;
    list[0] = 2;
    Json::Value object;
    object["b"] = 2;
    const std::vector<std::pair<std::string, Json::Value>> rows{
        {R"({"a":1,"a":2})", 2},
        {R"({"a":{"x":1},"a":2})", 2},
        {R"({"a":[1,1],"a":[2]})", list},
        {R"({"a":{"x":1},"a":{"b":2}})", object},
        {R"({"a":1,"a":{"b":2}})", object},
        {R"({"a":[[1]],"a":null})", Json::Value()},
        {R"({"a":1,"b":0,"\u0061":"c"})", "c"},
        {R"({"a":1,"a":{"a":1,"a":2,"b":1},"a":[2]})", list}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(strict(text)["a"], expected) << text;
    }
}

TEST(JsonReaderStrict, TextAccepted_ReplacesTheWholeValue) {
    Json::Value value;
    value["old"]["deep"] = 1;
    value.setComment("// about the old value"s, Json::commentBefore);
    ASSERT_TRUE(JsonReader(false).parse(R"({"new":1})", value));
    EXPECT_EQ(value.getMemberNames(), std::vector{"new"s});
    EXPECT_FALSE(value.hasComment(Json::commentBefore));
    ASSERT_TRUE(JsonReader(false).parse("null", value));
    EXPECT_TRUE(value.isNull());
}

TEST(JsonReaderStrict, TextRefused_LeavesTheValueUnchanged) {
    for (const std::string& text :
         {""s, "{"s, R"({"old":2,"new":1)"s, R"({"new":1}x)"s, "[1]\0"s, "[1e400"s, "[1e400]\0"s,
          R"(["\ud800",])"s, std::string(JsonReader::kNestingLimit + 1, '[')}) {
        Json::Value value;
        value["old"] = 1;
        value.setComment("// about the old value"s, Json::commentBefore);
        EXPECT_FALSE(JsonReader(false).parse(text, value)) << testing::PrintToString(text);
        EXPECT_EQ(value.getMemberNames(), std::vector{"old"s}) << testing::PrintToString(text);
        EXPECT_EQ(value["old"], Json::Value(1)) << testing::PrintToString(text);
        EXPECT_TRUE(value.hasComment(Json::commentBefore)) << testing::PrintToString(text);
    }
}

TEST(JsonReaderStrict, ReaderUsedTwice_KeepsNoState) {
    JsonReader reader(false);
    Json::Value value;
    EXPECT_FALSE(reader.parse("[1,", value));
    EXPECT_TRUE(reader.parse("[2]", value));
    EXPECT_EQ(value.size(), 1U);
    EXPECT_TRUE(reader.parse("{\"a\":1e400}", value));
    EXPECT_EQ(value["a"].asDouble(), kInfinity);
}

TEST(JsonReaderStrict, ReaderSharedByThreads_ReadsEachText) {
    JsonReader reader(false);
    std::vector<int> right(4);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < right.size(); ++i) {
        threads.emplace_back([&reader, &right, i] {
            const std::string text = R"([1.5,1e400,"\ud800",)" + std::to_string(i) + "]";
            for (int round = 0; round < 200; ++round) {
                Json::Value value;
                right[i] += reader.parse(text, value) && value[3] == Json::Value(int(i)) ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, std::vector<int>(4, 200));
}

/// Decimal comma and groups of thousands, as in many European locales.
class CommaPunctuation : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(JsonReaderStrict, GlobalLocaleWithDecimalComma_ChangesNothing) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
    const std::vector<Row> rows{
        {"1.5", 1.5},   {"1234567.25", 1234567.25}, {"1234567", 1234567},
        {"25e-1", 2.5}, {"1e400", kInfinity},       {"1" + std::string(400, '0') + "e-399", 10.0}};
    expectEach(rows);
    Json::Value value;
    EXPECT_FALSE(JsonReader(false).parse("1,5", value));
    EXPECT_FALSE(JsonReader(false).parse("1.234.567", value));
    std::locale::global(before);
}

} // namespace
