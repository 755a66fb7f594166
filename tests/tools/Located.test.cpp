// SPDX-License-Identifier: Apache-2.0

#include "located/Document.h"

#include <JsonReader.h>

#include <gmock/gmock.h>
#include <json/writer.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace {

using namespace sysconfctl::located;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::optional<Json::Value> readByLibrary(const std::string& text) {
    Json::Value value;
    return JsonReader(false).parse(text, value) ? std::optional(value) : std::nullopt;
}

/// Of repeated members the last one is compared.
::testing::AssertionResult same(const Value& located, const Json::Value& value) {
    const auto different = [&] {
        return ::testing::AssertionFailure() << value << " at " << located.begin;
    };
    switch (located.kind) {
    case Kind::Null:
        return value.isNull() ? ::testing::AssertionSuccess() : different();
    case Kind::Boolean:
        return value.isBool() && (located.text == "true") == value.asBool()
                   ? ::testing::AssertionSuccess()
                   : different();
    case Kind::Number:
        return value.isNumeric() ? ::testing::AssertionSuccess() : different();
    case Kind::String:
        return value.isString() && value.asString() == located.text ? ::testing::AssertionSuccess()
                                                                    : different();
    case Kind::Array:
        if (!value.isArray() || value.size() != located.elements.size()) {
            return different();
        }
        for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
            if (const auto result = same(located.elements[i], value[i]); !result) {
                return result;
            }
        }
        return ::testing::AssertionSuccess();
    case Kind::Object:
        break;
    }
    if (!value.isObject()) {
        return different();
    }
    for (const Member& member : located.members) {
        if (!value.isMember(member.name)) {
            return different();
        }
    }
    for (const std::string& name : value.getMemberNames()) {
        const Member* const member = located.member(name);
        if (member == nullptr) {
            return different();
        }
        if (const auto result = same(member->value, value[name]); !result) {
            return result;
        }
    }
    return ::testing::AssertionSuccess();
}

std::vector<std::string> sampleTexts() {
    std::vector<std::string> texts;
    for (const char* folder : {"samples", "fuzz/corpus/json-document"}) {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 std::filesystem::path(SYSCONF_SOURCE_DIRECTORY) / folder)) {
            if (entry.path().extension() == ".json") {
                files.push_back(entry.path());
            }
        }
        std::sort(files.begin(), files.end());
        for (const auto& path : files) {
            std::ifstream file(path, std::ios::binary);
            texts.emplace_back(std::istreambuf_iterator<char>(file),
                               std::istreambuf_iterator<char>());
        }
    }
    return texts;
}

void expectSameAsLibrary(const std::string& text) {
    const Document document(text);
    const auto value = readByLibrary(text);
    ASSERT_EQ(!document.error().has_value(), value.has_value())
        << text << '\n'
        << (document.error() ? document.error()->sentence : "no error found");
    if (value) {
        EXPECT_TRUE(same(document.root(), *value)) << text;
    }
}

TEST(Located, UnusualSyntax_IsAcceptedAsByTheLibrary) {
    const std::vector<std::string> texts = {"",
                                            " ",
                                            "{}",
                                            "[]",
                                            "null",
                                            "true",
                                            "false",
                                            "nul",
                                            "truex",
                                            "true x",
                                            "1",
                                            "-1",
                                            "-0",
                                            "0",
                                            "01",
                                            "-01",
                                            "1.",
                                            ".5",
                                            "1.5",
                                            "1e5",
                                            "1E+5",
                                            "1e-5",
                                            "1e",
                                            "1e+",
                                            "+1",
                                            "-",
                                            "1 2",
                                            "NaN",
                                            "Infinity",
                                            "1e999",
                                            "123456789012345678901234567890",
                                            "\"\"",
                                            "\"a\\\"b\"",
                                            "'a'",
                                            "\"\\u0041\"",
                                            "\"\\u004\"",
                                            "\"\\u00zz\"",
                                            "\"\\ud800\"",
                                            "\"\\udc00\"",
                                            "\"\\ud83d\\ude00\"",
                                            "\"\\ud83d\\u0041\"",
                                            "\"\\ud83d\\uzzzz\"",
                                            "\"\\ud83d\\n\"",
                                            "\"\\ud83d\\ud83d\\ude00\"",
                                            "\"\\x\"",
                                            "\"\\/\"",
                                            "\"\\",
                                            "\"a",
                                            "\"a\nb\"",
                                            "\"a\tb\"",
                                            "\"\x7f\"",
                                            "\"\xff\xc3\"",
                                            "\"\\u0000\"",
                                            "[1,]",
                                            "[,1]",
                                            "[1 2]",
                                            "[1",
                                            "[",
                                            "]",
                                            "{",
                                            "}",
                                            "{\"a\"}",
                                            "{\"a\":}",
                                            "{\"a\":1,}",
                                            "{a:1}",
                                            "{\"a\":1 \"b\":2}",
                                            "{\"a\":1]",
                                            "[1}",
                                            "{\"a\":1,\"a\":2}",
                                            "{\"a\":1,\"\\u0061\":\"x\"}",
                                            "// c\n{}",
                                            "{} // c",
                                            "/* c */ {}",
                                            "# c\n{}",
                                            "{}{}",
                                            "{},",
                                            "\xef\xbb\xbf{}",
                                            "{}\n\n",
                                            "\v{}",
                                            "\f{}",
                                            "{\"\":1}",
                                            std::string("{}\0", 3),
                                            std::string("\0", 1),
                                            std::string("[\0]", 3),
                                            std::string("\"a\0b\"", 5),
                                            std::string("{\"a\0\":1}", 8)};
    for (const std::string& text : texts) {
        expectSameAsLibrary(text);
    }
    for (const std::size_t depth : {23U, 1023U, 1024U, 1025U, 2000U}) {
        const std::string arrays = std::string(depth, '[') + std::string(depth, ']');
        expectSameAsLibrary(arrays);
        std::string objects;
        for (std::size_t i = 0; i < depth; ++i) {
            objects += "{\"a\":";
        }
        expectSameAsLibrary(objects + "1" + std::string(depth, '}'));
    }
}

TEST(Located, DamagedTexts_AreAcceptedAndReadAsByTheLibrary) {
    constexpr std::uint64_t kSeed = 20261121;
    std::mt19937_64 random(kSeed);
    RecordProperty("seed", std::to_string(kSeed));
    const std::vector<std::string> texts = sampleTexts();
    ASSERT_GE(texts.size(), 20U);
    constexpr std::string_view kPieces =
        "{}[]:,\"\\ \n\t0123456789.-+eEtrufalsn/*'#\0\x01\x7f\x80\xff";
    int accepted = 0;
    constexpr int kRounds = 20000;
    for (int round = 0; round < kRounds; ++round) {
        std::string text = texts[random() % texts.size()];
        if (text.size() > 4000) {
            text = text.substr(0, 4000);
        }
        const std::size_t changes = random() % 3;
        for (std::size_t i = 0; i < changes && !text.empty(); ++i) {
            const std::size_t at = random() % text.size();
            const char piece = kPieces[random() % kPieces.size()];
            switch (random() % 4) {
            case 0:
                text[at] = piece;
                break;
            case 1:
                text.insert(at, 1, piece);
                break;
            case 2:
                text.erase(at, 1 + random() % 3);
                break;
            default:
                text.insert(at, text.substr(random() % text.size(), random() % 40));
            }
        }
        expectSameAsLibrary(text);
        if (HasFatalFailure()) {
            FAIL() << "seed " << kSeed << ", round " << round;
        }
        accepted += Document(text).error() ? 0 : 1;
    }
    EXPECT_GT(accepted, kRounds / 4);
    EXPECT_LT(accepted, kRounds);
}

struct PlaceRow {
    Path path;
    Place place;
    std::string bytes;
};

TEST(Located, ValuesAndNames_HaveTheirPositions) {
    const Document document("{\n"
                            "  \"a\": [10, {\"b/c\": \"x\\u0041\"}],\r\n"
                            "  \"\xc3\xa9\xe4\xb8\xad\": null, \"a~\": true\n"
                            "}\n");
    ASSERT_FALSE(document.error());
    const PlaceRow rows[] = {
        {{}, {1, 1}, ""},
        {{"a"}, {2, 8}, "[10, {\"b/c\": \"x\\u0041\"}]"},
        {{"a", "0"}, {2, 9}, "10"},
        {{"a", "1", "b/c"}, {2, 21}, "\"x\\u0041\""},
        {{"\xc3\xa9\xe4\xb8\xad"}, {3, 9}, "null"},
        {{"a~"}, {3, 21}, "true"},
    };
    for (const PlaceRow& row : rows) {
        const Value* const value = document.find(row.path);
        ASSERT_NE(value, nullptr) << pointer(row.path);
        EXPECT_EQ(document.place(value->begin), row.place) << pointer(row.path);
        if (!row.bytes.empty()) {
            EXPECT_EQ(document.text().substr(value->begin, value->end - value->begin), row.bytes);
        }
    }
    const Member* const member = document.findMember({"a", "1", "b/c"});
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(document.place(member->nameBegin), (Place{2, 14}));
    EXPECT_EQ(document.find({"a", "1", "b/c"})->text, "xA");
    EXPECT_EQ(document.line(2), "  \"a\": [10, {\"b/c\": \"x\\u0041\"}],");
    EXPECT_EQ(document.find({"a", "2"}), nullptr);
    EXPECT_EQ(document.find({"a", "x"}), nullptr);
    EXPECT_EQ(document.find({"b"}), nullptr);
    EXPECT_EQ(document.findMember({"a", "0"}), nullptr);
}

TEST(Located, RepeatedMembers_AreAllKeptAndTheLastWins) {
    const Document document("{\"a\": 1,\n \"b\": 2, \"a\": 3}");
    ASSERT_EQ(document.root().members.size(), 3U);
    EXPECT_EQ(document.find({"a"})->text, "3");
    EXPECT_EQ(document.place(document.findMember({"a"})->nameBegin), (Place{2, 10}));
    EXPECT_EQ(document.place(document.root().members.front().nameBegin), (Place{1, 2}));
}

TEST(Located, Pointers_AreEscaped) {
    EXPECT_EQ(pointer({}), "");
    EXPECT_EQ(pointer({"a", "0", ""}), "/a/0/");
    EXPECT_EQ(pointer({"a/b", "c~d"}), "/a~1b/c~0d");
}

struct ErrorRow {
    std::string text;
    Place place;
    std::string pointer;
    std::string sentence;
};

TEST(Located, Errors_HavePlaceAndReason) {
    const ErrorRow rows[] = {
        {"", {1, 1}, "", "the file is empty"},
        {" \n ", {2, 2}, "", "the file is empty"},
        {"{\"a\": 1,\n}", {2, 1}, "", "a member is missing here"},
        {"{\"a\": [1,\n]}", {2, 1}, "/a/1", "a value is missing here"},
        {"{\"a\": 1\n \"b\": 2}", {2, 2}, "", "a \",\" or \"}\" is expected here"},
        {"{\"a\": {\"b\": }}", {1, 13}, "/a/b", "a value is missing here"},
        {"{\"a\" 1}", {1, 6}, "/a", "a \":\" is expected between"},
        {"{a: 1}", {1, 2}, "", "a member's name is expected here"},
        {"[1, // x\n2]", {1, 5}, "/1", "a comment is not allowed here"},
        {"[1 // x\n]", {1, 4}, "", "a comment is not allowed here"},
        {"{ # x\n}", {1, 3}, "", "a comment is not allowed here"},
        {"[\"a]\n", {1, 2}, "/0", "this text is not closed on its line"},
        {"[\"a]", {1, 2}, "/0", "this text is not closed"},
        {"[\"a\\qb\"]", {1, 4}, "/0", "this backslash does not begin a valid escape"},
        {"[\"a\tb\"]", {1, 4}, "/0", "a text contains a control character"},
        {"[007]", {1, 2}, "/0", "a number begins with 0"},
        {"[1.]", {1, 4}, "/0", "a digit is expected after the decimal point"},
        {"{\"a\": [1", {1, 9}, "/a", "the file ends inside an array"},
        {"{\"a\": 1}\n{}", {2, 1}, "", "there is text after the end"},
        {std::string("{}\0", 3), {1, 3}, "", "there is a NUL byte after the end"},
        {"\xef\xbb\xbf{}", {1, 1}, "", "a byte-order mark"},
        {"['a']", {1, 2}, "/0", "a text is in single quotes"},
        {"[nothing]", {1, 2}, "/0", "a value is expected here"},
    };
    for (const ErrorRow& row : rows) {
        const Document document(row.text);
        ASSERT_TRUE(document.error()) << row.text;
        EXPECT_EQ(document.place(document.error()->offset), row.place) << row.text;
        EXPECT_EQ(pointer(document.error()->path), row.pointer) << row.text;
        EXPECT_THAT(document.error()->sentence, StartsWith(row.sentence)) << row.text;
    }
}

TEST(Located, TooManyOpenBrackets_AreReportedAtTheFirstOneTooMany) {
    const Document document("[[[\n[1]]]]", {3, 0});
    ASSERT_TRUE(document.error());
    EXPECT_EQ(document.place(document.error()->offset), (Place{2, 1}));
    EXPECT_THAT(document.error()->hint, HasSubstr("at most 3"));
    EXPECT_FALSE(Document("[[[\n[1]]]]", {4, 0}).error());
    EXPECT_TRUE(Document("[1]", {0, 2}).error());
}

TEST(Located, RejectedText_KeepsThePartBeforeTheError) {
    const Document document("{\"a\": 1, \"b\": {\"c\": 2, oops}}");
    ASSERT_TRUE(document.error());
    EXPECT_EQ(document.find({"b", "c"})->text, "2");
}

} // namespace
