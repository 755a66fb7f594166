// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"
#include "support/Deployment.h"

#include <JsonReader.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <vector>

using namespace std::string_literals;

namespace {

using Quarncommon::SysConfReader;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

using TextQuery = std::string (SysConfReader::*)(const std::string&, unsigned int);

struct Field {
    const char* key;
    TextQuery query;
};

const Field kTexts[] = {
    {"type", &SysConfReader::getDBType},
    {"user", &SysConfReader::getDBUserName},
    {"serviceName", &SysConfReader::getDBServiceName},
    {"passwd", &SysConfReader::getDBPassword},
    {"serverName", &SysConfReader::getDBServerName},
    {"accessHost", &SysConfReader::getDBAccessHost},
    {"lib", &SysConfReader::getDBLib},
};

SysConfReader& load(support::Deployment& files, const std::string& databases) {
    files.appConfig(R"({"databases":)" + databases + "}");
    SysConfReader::Instance()->Reload();
    return *SysConfReader::Instance();
}

constexpr const char* kTwoEntries = R"({"db":[
    {"accessPort":5001,"type":"t0","user":"u0","serviceName":"s0","passwd":"p0","serverName":"v0",
     "accessHost":"h0","instanceExt":{"lib":"l0"}},
    {"accessPort":5002,"type":"t1","user":"u1","serviceName":"s1","passwd":"p1","serverName":"v1",
     "accessHost":"h1","instanceExt":{"lib":"l1"}}]})";

TEST(DatabaseFields, EachEntry_AnswersItsFields) {
    support::Deployment files;
    SysConfReader& reader = load(files, kTwoEntries);
    const char letters[] = {'t', 'u', 's', 'p', 'v', 'h', 'l'};
    for (const unsigned int index : {0U, 1U}) {
        EXPECT_EQ(reader.getDBAccessPort("db", index), index == 0 ? 5001 : 5002);
        for (std::size_t f = 0; f < std::size(kTexts); ++f) {
            const Field& field = kTexts[f];
            EXPECT_EQ((reader.*field.query)("db", index), letters[f] + std::to_string(index))
                << field.key;
        }
    }
}

TEST(DatabaseFields, IndexAtOrPastTheEnd_AnswersZeroAndEmpty) {
    support::Deployment files;
    SysConfReader& reader = load(files, kTwoEntries);
    for (const unsigned int index : {2U, 3U, 1000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(reader.getDBAccessPort("db", index), 0) << index;
        for (const Field& field : kTexts) {
            EXPECT_EQ((reader.*field.query)("db", index), "") << field.key << ' ' << index;
        }
    }
    Json::Value info;
    EXPECT_EQ(reader.getDBInfo("db", info), 0);
    EXPECT_EQ(info.size(), 2U) << "a query past the end must not lengthen the database";
}

TEST(DatabaseFields, UnknownName_AnswersMinusOneAndEmpty) {
    support::Deployment files;
    SysConfReader& reader = load(files, kTwoEntries);
    for (const std::string& name : {"x"s, ""s, "DB"s, "Db"s, "db "s, "d"s, "db\0"s}) {
        EXPECT_EQ(reader.getDBAccessPort(name, 0), -1) << name;
        Json::Value info("untouched");
        EXPECT_EQ(reader.getDBInfo(name, info), -1) << name;
        EXPECT_EQ(info, Json::Value("untouched")) << name;
        for (const Field& field : kTexts) {
            EXPECT_EQ((reader.*field.query)(name, 0), "") << field.key << ' ' << name;
        }
    }
}

TEST(DatabaseFields, NamesThatDifferInCaseOnly_AreDifferentDatabases) {
    support::Deployment files;
    SysConfReader& reader =
        load(files, R"({"db":[{"accessPort":1}],"DB":[{"accessPort":2}],"":[{"accessPort":3}],
                        "d\u0000b":[{"accessPort":4}]})");
    EXPECT_EQ(reader.getDBAccessPort("db", 0), 1);
    EXPECT_EQ(reader.getDBAccessPort("DB", 0), 2);
    EXPECT_EQ(reader.getDBAccessPort("", 0), 3);
    EXPECT_EQ(reader.getDBAccessPort("d\0b"s, 0), 4);
    EXPECT_EQ(reader.getDBAccessPort("Db", 0), -1);
}

TEST(DatabaseFields, Password_IsReturnedVerbatim) {
    const std::pair<const char*, std::string> rows[] = {
        {R"(plain)", "plain"},
        {R"( both ends )", " both ends "},
        {R"(%41&amp;$HOME)", "%41&amp;$HOME"},
        {R"(cGFzc3dk==)", "cGFzc3dk=="},
        {R"(\"\\\/\b\f\n\r\t)", "\"\\/\b\f\n\r\t"},
        {R"(a\u0000b)", "a\0b"s},
        {R"(\u00e9\u20ac)", "\xC3\xA9\xE2\x82\xAC"},
        {"\xC3\xA9\xE2\x82\xAC", "\xC3\xA9\xE2\x82\xAC"},
        {"\xFF\x80", "\xFF\x80"},
        {R"(\ud83d\ude00)", "\xF0\x9F\x98\x80"},
        {"", ""},
    };
    support::Deployment files;
    for (const auto& [written, expected] : rows) {
        SysConfReader& reader =
            load(files, R"({"db":[{"passwd":")" + std::string(written) + R"("}]})");
        EXPECT_EQ(reader.getDBPassword("db", 0), expected) << written;
    }
}

std::string outcome(const std::function<std::string()>& query) {
    try {
        return "answers " + query();
    } catch (const Json::LogicError&) {
        return "throws LogicError";
    } catch (const Json::Exception&) {
        return "throws another Json::Exception";
    }
}

std::string portOutcome(SysConfReader& reader, unsigned int index) {
    return outcome([&] { return std::to_string(reader.getDBAccessPort("db", index)); });
}

/// A reload would hang if the query before it still held the lock.
std::vector<std::string> allOutcomes(SysConfReader& reader, unsigned int index) {
    std::vector<std::string> outcomes{portOutcome(reader, index)};
    reader.Reload();
    for (const Field& field : kTexts) {
        outcomes.push_back(outcome([&] { return (reader.*field.query)("db", index); }));
        reader.Reload();
    }
    return outcomes;
}

TEST(DatabaseFields, DatabaseOfEachType_AnswersOrThrowsLikeJsoncpp) {
    const struct {
        const char* database;
        const char* port;
        const char* text;
    } rows[] = {
        {"null", "answers 0", "answers "},
        {"[]", "answers 0", "answers "},
        {"[null]", "answers 0", "answers "},
        {"[{}]", "answers 0", "answers "},
        {R"({"accessPort":1,"type":"t"})", "throws LogicError", "throws LogicError"},
        {"{}", "throws LogicError", "throws LogicError"},
        {R"("text")", "throws LogicError", "throws LogicError"},
        {R"("")", "throws LogicError", "throws LogicError"},
        {"7", "throws LogicError", "throws LogicError"},
        {"true", "throws LogicError", "throws LogicError"},
        {"1.5", "throws LogicError", "throws LogicError"},
        {"[[]]", "throws LogicError", "throws LogicError"},
        {"[7]", "throws LogicError", "throws LogicError"},
        {R"(["text"])", "throws LogicError", "throws LogicError"},
    };
    support::Deployment files;
    for (const auto& row : rows) {
        SysConfReader& reader = load(files, R"({"db":)" + std::string(row.database) + "}");
        const std::vector<std::string> outcomes = allOutcomes(reader, 0);
        EXPECT_EQ(outcomes.front(), row.port) << row.database;
        for (std::size_t f = 0; f < std::size(kTexts); ++f) {
            EXPECT_EQ(outcomes[f + 1], row.text) << row.database << ' ' << kTexts[f].key;
        }
        Json::Value info;
        EXPECT_EQ(reader.getDBInfo("db", info), 0) << row.database;
        Json::Value expected;
        ASSERT_TRUE(JsonReader(false).parse(row.database, expected));
        EXPECT_EQ(info, expected);
    }
}

TEST(DatabaseFields, PortOfEachType_AnswersOrThrowsLikeJsoncpp) {
    const std::pair<const char*, const char*> rows[] = {
        {"5001", "answers 5001"},
        {"0", "answers 0"},
        {"-1", "answers -1"},
        {"2147483647", "answers 2147483647"},
        {"-2147483648", "answers -2147483648"},
        {"null", "answers 0"},
        {"true", "answers 1"},
        {"1521.9", "answers 1521"},
        {"2147483648", "throws LogicError"},
        {"18446744073709551615", "throws LogicError"},
        {"1e10", "throws LogicError"},
        {R"("5001")", "throws LogicError"},
        {"[]", "throws LogicError"},
        {"{}", "throws LogicError"},
    };
    support::Deployment files;
    for (const auto& [port, expected] : rows) {
        SysConfReader& reader = load(files, R"({"db":[{"accessPort":)" + std::string(port) + "}]}");
        EXPECT_EQ(portOutcome(reader, 0), expected) << port;
        reader.Reload();
    }
}

TEST(DatabaseFields, TextOfEachType_AnswersOrThrowsLikeJsoncpp) {
    const std::pair<const char*, const char*> rows[] = {
        {R"("text")", "answers text"}, {R"("")", "answers "},
        {"null", "answers "},          {"5", "answers 5"},
        {"-5", "answers -5"},          {"true", "answers true"},
        {"false", "answers false"},    {"1.5", "answers 1.5"},
        {"[]", "throws LogicError"},   {"{}", "throws LogicError"},
        {"[1]", "throws LogicError"},
    };
    support::Deployment files;
    for (const auto& [value, expected] : rows) {
        for (const Field& field : kTexts) {
            const bool lib = field.key == "lib"s;
            SysConfReader& reader =
                load(files, R"({"db":[{)" + (lib ? R"("instanceExt":{)"s : ""s) + "\"" + field.key +
                                "\":" + value + (lib ? "}" : "") + "}]}");
            EXPECT_EQ(outcome([&] { return (reader.*field.query)("db", 0); }), expected)
                << field.key << ' ' << value;
            reader.Reload();
        }
    }
}

TEST(DatabaseFields, InstanceExtOfEachType_AnswersOrThrowsLikeJsoncpp) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"lib":"l"})", "answers l"},
        {"{}", "answers "},
        {"null", "answers "},
        {"[]", "throws LogicError"},
        {R"("l")", "throws LogicError"},
        {"7", "throws LogicError"},
    };
    support::Deployment files;
    for (const auto& [extension, expected] : rows) {
        SysConfReader& reader = load(files, R"({"db":[{"lib":"beside","instanceExt":)" +
                                                std::string(extension) + "}]}");
        EXPECT_EQ(outcome([&] { return reader.getDBLib("db", 0); }), expected) << extension;
        reader.Reload();
    }
}

TEST(Databases, GetDBInfo_ReplacesTheWholeValueByACopy) {
    support::Deployment files;
    SysConfReader& reader = load(files, kTwoEntries);
    Json::Value info;
    info["old"] = "member";
    EXPECT_EQ(reader.getDBInfo("db", info), 0);
    EXPECT_TRUE(info.isArray());
    EXPECT_EQ(info[1]["user"].asString(), "u1");
    info[1]["user"] = "changed";
    EXPECT_EQ(reader.getDBUserName("db", 1), "u1");
}

TEST(Databases, GetAllDBInfo_ReplacesTheWholeMap) {
    support::Deployment files;
    SysConfReader& reader = load(files, R"({"b":[1],"a":{"x":"y"},"c":null,"A":"text"})");
    std::map<std::string, Json::Value> all{{"old", 1}, {"a", "old value"}};
    EXPECT_EQ(reader.getAllDBInfo(all), 0);
    EXPECT_THAT(all, ElementsAre(Key("A"), Key("a"), Key("b"), Key("c")));
    EXPECT_EQ(all["a"]["x"].asString(), "y");
    EXPECT_EQ(all["b"][0].asInt(), 1);
    EXPECT_TRUE(all["c"].isNull());
    all.clear();
    EXPECT_EQ(reader.getAllDBInfo(all), 0);
    EXPECT_EQ(all.size(), 4U);
}

TEST(Databases, NoneLoaded_GetAllDBInfoEmptiesTheMap) {
    support::Deployment files;
    for (const char* config : {"{}", R"({"databases":null})", R"({"databases":[]})",
                               R"({"databases":"x"})", R"({"databases":{}})"}) {
        files.appConfig(config);
        SysConfReader::Instance()->Reload();
        std::map<std::string, Json::Value> all{{"old", 1}};
        EXPECT_EQ(SysConfReader::Instance()->getAllDBInfo(all), 0) << config;
        EXPECT_THAT(all, IsEmpty()) << config;
    }
}

} // namespace
