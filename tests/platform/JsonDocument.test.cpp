// SPDX-License-Identifier: Apache-2.0
#include "JsonDocument.h"

#include "DocumentDifference.h"
#include "FastReader.h"
#include "JsonReader.h"
#include "Tape.h"
#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::string_literals;

constexpr std::size_t kNoLimit = SIZE_MAX;

class Read {
public:
    explicit Read(const std::string& text) {
        const std::string padded = text + std::string(JsonDocument::kPadding, ' ');
        EXPECT_TRUE(m_document.read(padded.data(), text.size())) << text;
    }
    JsonDocument::Node operator*() const { return m_document.root(); }

private:
    JsonDocument m_document;
};

std::vector<JsonDocument::Node> listed(const JsonDocument::Node::Range& range) {
    return {range.begin(), range.end()};
}

void expectNoDifference(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        EXPECT_EQ(documentDifference(text), "") << testing::PrintToString(text.substr(0, 300));
    }
}

TEST(JsonDocument, NothingReadYet_RootIsNull) {
    const JsonDocument document;
    EXPECT_TRUE(document.root().value().isNull());
    EXPECT_TRUE(document.root()["a"].value().isNull());
}

TEST(JsonDocument, TextRefused_RootIsNull) {
    JsonDocument document;
    const std::string texts = "{\"a\":1}[1" + std::string(JsonDocument::kPadding, ' ');
    ASSERT_TRUE(document.read(texts.data(), 7));
    EXPECT_EQ(document.root()["a"].asString(), "1");
    EXPECT_FALSE(document.read(texts.data() + 7, 2));
    EXPECT_TRUE(document.root().value().isNull());
}

TEST(JsonDocument, RepeatedMemberName_LastValueWins) {
    const Read read(R"({"b":1,"a":{"x":1},"b":2,"a":{"y":2},"c":3,"b":[7]})");
    EXPECT_EQ(listed((*read)["b"].elements()).at(0).asString(), "7");
    EXPECT_EQ((*read)["a"]["x"].asString(), "");
    EXPECT_EQ((*read)["a"]["y"].asString(), "2");
    std::string names;
    for (const auto& [name, value] : (*read).members()) {
        names += name;
        for (const JsonDocument::Node& child : value.children()) {
            names += child.asString();
        }
    }
    EXPECT_EQ(names, "a2b7c");
}

TEST(JsonDocument, NodeOfATree_AnswersFromTheTree) {
    Json::Value tree;
    tree["a"][0] = "x";
    const JsonDocument::Node node = tree;
    EXPECT_EQ(listed(node["a"].elements()).at(0).asString(), "x");
    EXPECT_EQ(node.members().at(0).first, "a");
    EXPECT_EQ(listed(node.children()).at(0).value(), tree["a"]);
    EXPECT_THROW(node.elements(), Json::Exception);
    EXPECT_THROW(node["a"]["b"], Json::Exception);
}

TEST(JsonDocument, TextDestroyed_ValuesRemain) {
    JsonDocument document;
    {
        std::string text = R"({"a":"a text too long for a string's own room"})";
        const std::size_t length = text.size();
        text.append(JsonDocument::kPadding, ' ');
        ASSERT_TRUE(document.read(text.data(), length));
        text.assign(text.size(), 'x');
    }
    EXPECT_EQ(document.root()["a"].asString(), "a text too long for a string's own room");
}

TEST(JsonDocument, ValuesOfEveryType_AnswerLikeATree) {
    expectNoDifference({
        "null",
        "true",
        "false",
        "0",
        "-0",
        "-0.0",
        "1",
        "-1",
        "1.5",
        "1e5",
        "1E-5",
        "\"\"",
        "\"x\"",
        "[]",
        "{}",
        "[[]]",
        "[{}]",
        "{\"\":{}}",
        "[null,true,false,0,\"x\",[],{}]",
        R"({"a":null,"b":true,"c":7,"d":"x","e":[1],"f":{"g":[{"h":"i"}]}})",
        R"(["\"\\\/\b\f\n\r\t\u0000\u00e4\ud83d\ude00"])",
        "{\"a\\u0000b\":\"c\\u0000d\"}",
        "[\"\xc3\xa4\xf0\x9f\x98\x80\"]",
        R"({"z":1,"a":2,"m":{"z":1,"a":2},"\u00e4":3,"Z":4})",
        R"({"a":1,"a":2})",
        R"({"b":1,"a":1,"b":{"c":1},"a":[1,2]})",
    });
}

TEST(JsonDocument, NumbersAtTheirLimits_AnswerLikeATree) {
    expectNoDifference({
        "2147483647",
        "2147483648",
        "-2147483648",
        "-2147483649",
        "9223372036854775807",
        "9223372036854775808",
        "-9223372036854775808",
        "-9223372036854775809",
        "18446744073709551615",
        "18446744073709551616",
        "123456789012345678901234567890",
        "1.7976931348623157e308",
        "1.7976931348623159e308",
        "1e309",
        "-1e400",
        "4.9e-324",
        "1e-400",
        "0.1",
        "0.30000000000000004",
        "123456789.123456789",
        "9007199254740993",
        "1e22",
        "1e23",
        "5e-324",
        "2.2250738585072011e-308",
        "179769313486231580793728971405301e277",
    });
}

std::vector<double> manyDoubles() {
    std::vector<double> doubles{0.0, -0.0, 0.5, 1e16, 1e17, 1e18, 123456789012345678.0};
    std::mt19937_64 random(1);
    for (int exponent = -325; exponent <= 308; ++exponent) {
        const double power = std::strtod(("1e" + std::to_string(exponent)).c_str(), nullptr);
        for (const double factor : {1.0, -1.0, 1.5, 9.0 / 7}) {
            doubles.push_back(power * factor);
            doubles.push_back(std::nextafter(power * factor, 0.0));
        }
    }
    for (int i = 0; i < 100000; ++i) {
        doubles.push_back(std::bit_cast<double>(static_cast<std::uint64_t>(random())));
        doubles.push_back(static_cast<double>(random() >> (random() % 64)));
        doubles.push_back(static_cast<double>(random() % 100000) / 1000);
    }
    doubles.push_back(std::numeric_limits<double>::max());
    doubles.push_back(std::numeric_limits<double>::min());
    doubles.push_back(std::numeric_limits<double>::denorm_min());
    std::erase_if(doubles, [](double value) { return !std::isfinite(value); });
    return doubles;
}

TEST(JsonDocument, TextsOfDoubles_AreThoseOfJsoncpp) {
    const std::vector<double> doubles = manyDoubles();
    std::string text;
    for (const double value : doubles) {
        std::array<char, 32> digits{};
        std::snprintf(digits.data(), digits.size(), "%c%.16e", text.empty() ? '[' : ',', value);
        text += digits.data();
    }
    text += ",1e999,-1e999]";
    const Read read(text);
    const std::vector<JsonDocument::Node> nodes = listed((*read).elements());
    ASSERT_EQ(nodes.size(), doubles.size() + 2);
    for (std::size_t i = 0; i < doubles.size(); ++i) {
        ASSERT_EQ(nodes[i].asString(), Json::Value(doubles[i]).asString());
    }
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(nodes[doubles.size()].asString(), Json::Value(kInfinity).asString());
    EXPECT_EQ(nodes[doubles.size() + 1].asString(), Json::Value(-kInfinity).asString());
}

TEST(JsonDocument, TextOfAShortDouble_TakesNoAllocation) {
    const Read read("[1.5]");
    const JsonDocument::Node node = listed((*read).elements()).at(0);
    const support::AllocationFault fault(1);
    EXPECT_EQ(node.asString(), "1.5");
    EXPECT_FALSE(fault.happened());
}

std::string arrayOf(const std::string& element) {
    std::string text = "[0";
    for (int i = 0; i < 1000; ++i) {
        text.append(",").append(element);
    }
    return text + "]";
}

bool isReadFast(const std::string& text) {
    Tape tape;
    const std::string padded = text + std::string(JsonDocument::kPadding, ' ');
    return readFast(padded.data(), text.size(), tape);
}

TEST(JsonDocument, ManyLongNumbers_AreReadByTheStrictReader) {
    for (const char* number :
         {"12345678901234567891e9", "-1.7976931348623158079e308", "2.4703282292062327208e-324",
          "9.0071992547409930000000000000000000001e300"}) {
        EXPECT_FALSE(isReadFast(arrayOf(number))) << number;
        expectNoDifference({arrayOf(number)});
    }
}

TEST(JsonDocument, ManyShortNumbersOrLongTexts_AreReadByTheFastReader) {
    for (const char* element : {"1.2345678901234e-300", "-0.125                 ",
                                "\"12345678901234567890123\"", "true                     "}) {
        EXPECT_TRUE(isReadFast(arrayOf(element))) << element;
    }
}

TEST(JsonDocument, ValidTextsOutsideUnicode_AnswerLikeATree) {
    expectNoDifference({"[\"\xff\xfe\"]", "{\"\xc3\":\"\x80\"}", R"(["\ud800"])", R"(["\udc00x"])",
                        R"({"\ud800":1,"a":"\ud83d\u0041"})", "[\"\xed\xa0\x80\"]",
                        "[\"\xf4\x90\x80\x80\"]", "[\"\xc0\x80\"]"});
}

TEST(JsonDocument, TextsThatAreNotJson_RefusedByBoth) {
    expectNoDifference({"",           " ",           "\xef\xbb\xbf{}",
                        "{}x",        "{} {}",       "[1,]",
                        "{\"a\":1,}", "{a:1}",       "['a']",
                        "[01]",       "[+1]",        "[1.]",
                        "[.5]",       "[1e]",        "[-]",
                        "[NaN]",      "[Infinity]",  "// c\n1",
                        "/**/1",      "1 // c",      "[1 2]",
                        "[",          "{",           "\"",
                        "[\"a]",      "{\"a\"}",     "{\"a\":}",
                        "{1:2}",      "[\"\t\"]",    "[\"\n\"]",
                        "[\"\\x\"]",  "[\"\\u12\"]", "tru",
                        "nulll",      "]",           "}",
                        "[}",         "{]",          "\x00"s,
                        "{}\x00"s,    "[1]\x00]"s,   "[\"\x00\"]"s,
                        "\v1",        "1\f"});
}

TEST(JsonDocument, NestingAroundTheLimit_AcceptedByBothOrNeither) {
    for (std::size_t depth = JsonReader::kNestingLimit - 1; depth <= JsonReader::kNestingLimit + 1;
         ++depth) {
        std::string objects = "1";
        for (std::size_t i = 0; i < depth; ++i) {
            objects = "{\"a\":" + objects + "}";
        }
        const std::string open(depth, '[');
        const std::string close(depth, ']');
        expectNoDifference({open + close, open + "1" + close, open + "{}" + close, objects,
                            "[" + open + close + ",1]", "{\"a\":" + open + close + "}"});
    }
}

TEST(JsonDocument, EveryBeginningOfAText_AcceptedByBothOrNeither) {
    const std::string text =
        "{ \"a\\u00e9\" : [ 0 , -1.5e+3 , true , false , null , \"\\n\" , [ ] ,"
        " { } ] , \"b\" : { \"c\" : \"\xc3\xa9\" , \"c\" : 2 } } ";
    for (std::size_t length = 0; length <= text.size(); ++length) {
        expectNoDifference({text.substr(0, length)});
    }
}

TEST(JsonDocument, EveryByteInEveryPlace_AcceptedByBothOrNeither) {
    const std::string text = R"({"a":[1,"b\n"]})";
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string changed = text;
            changed[at] = static_cast<char>(byte);
            expectNoDifference({changed});
        }
    }
}

/// Most are nearly valid.
std::string randomText(std::mt19937& random, int depth) {
    static const std::vector<std::string> kScalars{
        "null",        "true",   "false",       "0",        "-0",
        "12",          "-7.25",  "1e3",         "1e999",    "\"\"",
        "\"a\"",       "\"IP\"", "\"\\ud800\"", "\"\xff\"", "99999999999999999999",
        "\"\\u0000\"", "1.",     "tru",         "\"\t\"",   ""};
    const auto pick = [&](std::size_t below) { return random() % below; };
    const std::size_t kind = depth > 5 ? 0 : pick(4);
    if (kind < 2) {
        // The malformed ones are the last of the list, and rare.
        return kScalars[pick(pick(40) == 0 ? kScalars.size() : kScalars.size() - 4)];
    }
    std::string text(1, kind == 2 ? '[' : '{');
    const std::size_t size = pick(5);
    for (std::size_t i = 0; i < size; ++i) {
        text += i == 0 ? "" : ",";
        if (kind == 3) {
            text += "\"" + std::string(1, static_cast<char>('a' + pick(4))) + "\":";
        }
        text += randomText(random, depth + 1);
    }
    return text + (pick(200) == 0 ? ' ' : kind == 2 ? ']' : '}');
}

TEST(JsonDocument, RandomTexts_AnswerLikeATree) {
    int accepted = 0;
    constexpr unsigned kTexts = 10000;
    for (unsigned seed = 1; seed <= kTexts && !HasFailure(); ++seed) {
        std::mt19937 random(seed);
        std::string text = randomText(random, 0);
        if (random() % 8 == 0 && !text.empty()) {
            text[random() % text.size()] = static_cast<char>(random() % 256);
        }
        EXPECT_EQ(documentDifference(text), "") << "seed " << seed << ": " << text;
        Json::Value value;
        accepted += JsonReader(false).parse(text, value) ? 1 : 0;
    }
    EXPECT_GT(accepted, static_cast<int>(kTexts / 4));
    EXPECT_LT(accepted, static_cast<int>(kTexts / 4 * 3.9));
}

TEST(JsonDocument, LargeText_AnswersLikeATree) {
    std::string text = "{\"nodeList\":{";
    for (int i = 0; i < 500; ++i) {
        text += (i == 0 ? "\"" : ",\"") + std::to_string(i * 7919 % 503) +
                R"(":{"IPAddresses":[{"IP":"10.0.0.1","usage":["service","x"]}],"n":)" +
                std::to_string(i) + ",\"text\":\"" + std::string(3000, 'x') + "\"}";
    }
    text += "}}";
    ASSERT_GT(text.size(), 1U << 20U);
    EXPECT_EQ(documentDifference(text), "");
}

TEST(JsonDocument, PackedTextWithEscapes_AnswersLikeATree) {
    expectNoDifference({
        R"({"\\":"\\\\","a\"":"\"\"","\"":"\\\""})",
        R"(["\\","\\\"","\u005c","\u005cu005c\"","\u0022","x\"y\"z","\/"])",
        R"({"plain":"text","\u0061":["\ud83d\ude00","[{,:}]","\"[1]"]})",
        "[\"\xff\",\"a\xff\\\"\"]",
    });
}

TEST(JsonDocument, PackedObject_NameWithQuotesDoesNotMatchTheTextAroundAName) {
    const std::string text = R"({"a":"x","b\"c":1})";
    const std::string padded = text + std::string(JsonDocument::kPadding, ' ');
    JsonDocument document;
    JsonDocument packed;
    ASSERT_TRUE(document.read(padded.data(), text.size()));
    ASSERT_TRUE(packed.pack(document, padded.data(), text.size(), kNoLimit));
    EXPECT_TRUE(packed.root()["a\":\"x"].value().isNull());
    EXPECT_EQ(packed.root()["b\"c"].asString(), "1");
    EXPECT_EQ(packed.root()["a"].asString(), "x");
}

TEST(JsonDocument, PackedObjectWithManyMembers_FindsEachAndTheLastOfOneName) {
    for (const int members : {15, 16, 17, 300}) {
        std::string text = "{";
        for (int i = 0; i < members; ++i) {
            text +=
                "\"" + std::to_string(i * 31 % (members - 2)) + "\":[" + std::to_string(i) + "],";
        }
        expectNoDifference({text + "\"\":{},\"a\\u0000\":1,\"\\n\":" + text + "\"x\":2}}"});
    }
}

TEST(JsonDocument, NamesWithEqualBeginningsInAnyOrder_AnswerLikeATree) {
    std::vector<std::string> names{"", "\\u0000", "\\u0000\\u0000"};
    for (const std::size_t length : {1U, 7U, 8U, 9U, 15U, 16U, 17U, 40U}) {
        const std::string beginning(length, 'n');
        for (const char* const end :
             {"", "\\u0000", "\\u0000\\u0000", "m", "o", "\xc3\xa4", "\\\""}) {
            names.push_back(beginning + end);
        }
    }
    std::mt19937 random(1);
    for (const std::size_t members : {5U, 12U, 60U, 200U}) {
        for (int round = 0; round < 50; ++round) {
            std::string text = "{";
            for (std::size_t i = 0; i < members; ++i) {
                const std::string& name = names[random() % names.size()];
                text += (i == 0 ? "\"" : ",\"") + name + "\":" + std::to_string(i);
            }
            expectNoDifference({text + "}"});
        }
    }
}

TEST(JsonDocument, PackedMinifiedList_TakesLessThanTheText) {
    std::string text = "[";
    for (int i = 0; i < 1000; ++i) {
        text += R"({"IP":"10.0.0.)" + std::to_string(i % 250) + R"(","usage":["southbound"]},)";
    }
    text += "0]";
    const std::size_t length = text.size();
    text.append(JsonDocument::kPadding, ' ');
    JsonDocument document;
    JsonDocument packed;
    ASSERT_TRUE(document.read(text.data(), length));
    ASSERT_TRUE(packed.pack(document, text.data(), length, kNoLimit));
    EXPECT_LT(packed.memory(), length);
    EXPECT_GT(packed.memory(), length / 2);
    EXPECT_GT(document.memory(), 2 * length);
}

TEST(JsonDocument, PackedFormOfTheLimit_IsMadeAndNoLargerOne) {
    const std::string text = R"({"a":["b","c\"",1]})";
    const std::string padded = text + std::string(JsonDocument::kPadding, ' ');
    JsonDocument document;
    JsonDocument packed;
    ASSERT_TRUE(document.read(padded.data(), text.size()));
    ASSERT_TRUE(packed.pack(document, padded.data(), text.size(), kNoLimit));
    JsonDocument other;
    EXPECT_FALSE(other.pack(document, padded.data(), text.size(), packed.memory() - 1));
    EXPECT_TRUE(other.root().value().isNull());
    EXPECT_TRUE(other.pack(document, padded.data(), text.size(), packed.memory()));
    EXPECT_EQ(other.root()["a"].value().size(), 3U);
}

TEST(JsonDocument, PackedFormOfManyShortMembers_IsRefusedBeforeItIsMade) {
    std::string text = "{";
    for (int i = 0; i < 1000; ++i) {
        text += R"("y":0,"x":"",)";
    }
    text += R"("z":null})";
    const std::size_t length = text.size();
    text.append(JsonDocument::kPadding, ' ');
    JsonDocument document;
    JsonDocument packed;
    ASSERT_TRUE(document.read(text.data(), length));
    const support::AllocationFault fault(1);
    EXPECT_FALSE(packed.pack(document, text.data(), length, length + length / 2));
    EXPECT_FALSE(fault.happened());
}

TEST(JsonDocument, NothingRead_NotPacked) {
    JsonDocument document;
    JsonDocument packed;
    const std::string text = "[1" + std::string(JsonDocument::kPadding, ' ');
    EXPECT_FALSE(packed.pack(document, text.data(), 0, kNoLimit));
    ASSERT_FALSE(document.read(text.data(), 2));
    EXPECT_FALSE(packed.pack(document, text.data(), 2, kNoLimit));
    EXPECT_TRUE(packed.root().value().isNull());
}

TEST(JsonDocument, OneDocumentOnSeveralThreads_AnswersAll) {
    const Read read(R"({"b":{"x":[1,2,3]},"a":"text"})");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 1000; ++round) {
                EXPECT_EQ(listed((*read)["b"]["x"].elements()).size(), 3U);
                EXPECT_EQ((*read).members().size(), 2U);
                EXPECT_EQ((*read)["a"].asString(), "text");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(JsonDocument, Unread_TakesNoMemoryForAText) {
    JsonDocument document;
    const std::size_t unread = document.memory();
    EXPECT_LT(unread, 1024U);
    ASSERT_TRUE(document.read("[0]", 3));
    EXPECT_GT(document.memory(), unread);
}

TEST(JsonDocument, ErrorInATextThatIsTooLong_HasNoKnownPlace) {
    std::size_t offset = 0;
    EXPECT_FALSE(JsonDocument().read("", std::size_t{JsonReader::kTextLimit} + 1, &offset));
    EXPECT_EQ(offset, std::numeric_limits<std::size_t>::max());
}

} // namespace
