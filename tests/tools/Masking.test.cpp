// SPDX-License-Identifier: Apache-2.0
// The masked parts of an answer.

#include "render/Masking.h"

#include <gtest/gtest.h>

namespace {

using namespace sysconfctl;

Json::Value object(const char* name, const Json::Value& value) {
    Json::Value result(Json::objectValue);
    result[name] = value;
    return result;
}

TEST(Masking, MembersByTheirNames_AreHiddenInAnyCaseAndDepth) {
    for (const char* name :
         {"passwd", "PASSWORD", "dbPassword", "pwd", "clientSecret", "credentials", "passwd_old"}) {
        Answer answer{object("deep", object(name, "x"))};
        mask(answer, Secret::Members);
        EXPECT_EQ(std::get<Json::Value>(answer.value)["deep"][name], "********") << name;
        EXPECT_TRUE(answer.masked) << name;
    }
    for (const char* name : {"user", "pass", "type", "accessHost"}) {
        Answer answer{object(name, "x")};
        mask(answer, Secret::Members);
        EXPECT_EQ(std::get<Json::Value>(answer.value)[name], "x") << name;
        EXPECT_FALSE(answer.masked) << name;
    }
}

TEST(Masking, NumbersAndObjects_AreHiddenWhole) {
    Answer answer{object("passwd", object("user", "x"))};
    mask(answer, Secret::Members);
    EXPECT_EQ(std::get<Json::Value>(answer.value)["passwd"], "********");
    Answer number{object("passwd", 5)};
    mask(number, Secret::Members);
    EXPECT_EQ(std::get<Json::Value>(number.value)["passwd"], "********");
}

TEST(Masking, NoAnswerAndNoSecret_StayAsTheyAre) {
    Answer none{NoAnswer{}};
    mask(none, Secret::Whole);
    EXPECT_FALSE(none.isAnswered());
    EXPECT_FALSE(none.masked);
    Answer text{std::string("x")};
    mask(text, Secret::None);
    EXPECT_EQ(std::get<std::string>(text.value), "x");
    mask(text, Secret::Whole);
    EXPECT_EQ(std::get<std::string>(text.value), "********");
}

} // namespace
