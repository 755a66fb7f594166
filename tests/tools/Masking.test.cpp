// SPDX-License-Identifier: Apache-2.0

#include "render/Masking.h"

#include <gtest/gtest.h>
#include <json/writer.h>

namespace {

using namespace sysconfctl;

Json::Value object(const char* name, const Json::Value& value) {
    Json::Value result(Json::objectValue);
    result[name] = value;
    return result;
}

Json::Value masked(Json::Value value, Secret secret = Secret::Database) {
    Answer answer{std::move(value)};
    mask(answer, secret);
    return std::get<Json::Value>(answer.value);
}

TEST(Masking, MembersThatNoQueryReturns_AreHiddenWholeUnderAnyName) {
    for (const char* name : {"passwd", "PASSWORD", "paswd", "pw", "token", "url", "Type", "x"}) {
        for (const Json::Value& secret :
             {Json::Value("x"), Json::Value(5), object("user", "x"), object("x", object("y", 1))}) {
            const Json::Value entry = object(name, secret);
            EXPECT_EQ(masked(entry), object(name, "********")) << entry;
            Json::Value list(Json::arrayValue);
            list.append(entry);
            EXPECT_EQ(masked(list)[0], object(name, "********")) << list;
            EXPECT_EQ(masked(object("d", list), Secret::Databases)["d"][0][name], "********");
            EXPECT_EQ(masked(object("instanceExt", entry))["instanceExt"][name], "********");
        }
        for (const Json::Value& empty :
             {Json::Value(""), Json::Value(), Json::Value(Json::arrayValue)}) {
            EXPECT_EQ(masked(object(name, empty)), object(name, empty));
        }
    }
}

TEST(Masking, FieldsThatQueriesReturn_AreShownUnlessTheyHoldLoginData) {
    for (const char* name : {"user", "type", "accessHost", "serviceName", "serverName", "lib"}) {
        for (const char* text :
             {"x", "fe80::1%eth0", "me@site", "/run/db:1", "a=b", "passwd-user"}) {
            EXPECT_EQ(masked(object(name, text)), object(name, text));
        }
        for (const char* text : {"db://me:pw@host", "me:pw@host", "me/pw@host", "//me:p@w@host",
                                 "host=h Password=pw", "?pwd=pw"}) {
            EXPECT_EQ(masked(object(name, text)), object(name, "********")) << text;
            Answer answer{std::string(text)};
            mask(answer, Secret::LoginData);
            EXPECT_TRUE(answer.masked) << text;
        }
        EXPECT_EQ(masked(object(name, object("type", "x"))), object(name, "********"));
    }
    EXPECT_EQ(masked(object("accessPort", 5432)), object("accessPort", 5432));
    EXPECT_EQ(masked(object("instanceExt", object("lib", "x"))),
              object("instanceExt", object("lib", "x")));
}

TEST(Masking, ValuesInThePlaceOfAnEntry_AreHidden) {
    Json::Value list(Json::arrayValue);
    list.append("x");
    EXPECT_EQ(masked(list)[0], "********");
    EXPECT_EQ(masked("x"), "********");
    EXPECT_EQ(masked(object("d", "x"), Secret::Databases)["d"], "********");
}

TEST(Masking, NoAnswerAndNoSecret_AreUnchanged) {
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
