// SPDX-License-Identifier: Apache-2.0
#include "JsonReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

bool accepts(const std::string& text) {
    Json::Value value;
    return JsonReader(true).parse(text, value);
}

TEST(JsonReaderLenient, WhatTheStrictReaderRefuses_AcceptedAsJsoncppDoes) {
    for (const std::string& text :
         {"// a\n1"s, "/* a */ [1]"s, "[1, // a\n2]"s, "01"s, "+1"s, "1."s, "[1] x"s, "1 2"s,
          "\"a\tb\""s, "\xef\xbb\xbf{}"s, R"({"a":1,})"s}) {
        Json::Value value;
        EXPECT_TRUE(accepts(text)) << testing::PrintToString(text);
        EXPECT_FALSE(JsonReader(false).parse(text, value)) << testing::PrintToString(text);
    }
}

TEST(JsonReaderLenient, WhatJsoncppRefuses_RefusedAndValueUnchanged) {
    for (const std::string& text : {""s, " "s, "{"s, "[1"s, "tru"s, "'a'"s, "{a:1}"s, "NaN"s,
                                    "[1,,2]"s, R"("\ud800")"s, "[1\0]"s}) {
        Json::Value value("old");
        EXPECT_FALSE(JsonReader(true).parse(text, value)) << testing::PrintToString(text);
        EXPECT_EQ(value, Json::Value("old")) << testing::PrintToString(text);
    }
}

TEST(JsonReaderLenient, TextAccepted_ReplacesTheWholeValue) {
    Json::Value value;
    value["old"] = 1;
    ASSERT_TRUE(JsonReader(true).parse("{/* a */\"b\":[1,2.5,\"\\u00e9\"],\"b\":[-3]}", value));
    EXPECT_EQ(value.getMemberNames(), std::vector{"b"s});
    ASSERT_EQ(value["b"].size(), 1U);
    EXPECT_EQ(value["b"][0], Json::Value(-3));
}

TEST(JsonReaderLenient, ValuesNestedBeyondTheLimit_RefusedWithoutAnException) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    EXPECT_TRUE(accepts(nested(JsonReader::kLenientNestingLimit)));
    Json::Value value("old");
    EXPECT_FALSE(JsonReader(true).parse(nested(JsonReader::kLenientNestingLimit + 1), value));
    EXPECT_FALSE(JsonReader(true).parse(std::string(100000, '['), value));
    EXPECT_EQ(value, Json::Value("old"));
}

} // namespace
