// SPDX-License-Identifier: Apache-2.0
#include "JsonDocument.h"
#include "JsonReader.h"

#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <array>
#include <memory>
#include <string>

namespace {

constexpr std::size_t kLimit = JsonReader::kNestingLimit;
static_assert(kLimit >= 1000);

/// More levels than any configuration file needs. A tree of them can be copied on a small stack.
constexpr std::size_t kOrdinary = 16;

/// Outermost first: 'a' for an array, 'o' for an object, each with `width` children. The last
/// child, which takes the most stack to reach, is the next level.
std::string nested(const std::string& levels, std::size_t width = 1) {
    std::string head;
    std::string tail;
    for (const char level : levels) {
        head += level == 'a' ? '[' : '{';
        for (std::size_t i = 0; i < width; ++i) {
            if (level == 'o') {
                const std::string name = std::to_string(1000000 + i);
                head += "\"" + name + "\":";
            }
            if (i + 1 < width) {
                head += "0,";
            }
        }
        tail += level == 'a' ? ']' : '}';
    }
    return head + "1" + std::string(tail.rbegin(), tail.rend());
}

std::string alternating(std::size_t depth) {
    std::string levels;
    while (levels.size() < depth) {
        levels += levels.size() % 2 == 0 ? 'o' : 'a';
    }
    return levels;
}

bool accepts(const std::string& text) {
    Json::Value value("old");
    const bool accepted = JsonReader(false).parse(text, value);
    EXPECT_EQ(!accepted, value == Json::Value("old"));
    return accepted;
}

TEST(JsonReaderStrict, NestingAtTheLimit_AcceptedBeyondItRefused) {
    for (const std::string& levels :
         {std::string(kLimit + 1, 'a'), std::string(kLimit + 1, 'o'), alternating(kLimit + 1)}) {
        EXPECT_TRUE(accepts(nested(levels.substr(1)))) << levels;
        EXPECT_FALSE(accepts(nested(levels))) << levels;
    }
    EXPECT_TRUE(accepts(std::string(kLimit, '[') + std::string(kLimit, ']')));
    EXPECT_FALSE(accepts(std::string(kLimit + 1, '[') + std::string(kLimit + 1, ']')));
}

TEST(JsonReaderStrict, NestingAtTheLimitManyTimes_AcceptedSideBySide) {
    const std::string deep = nested(std::string(kLimit - 1, 'a'));
    EXPECT_TRUE(accepts("[" + deep + "," + deep + "," + deep + "]"));
    EXPECT_FALSE(accepts("[" + deep + ",[" + deep + "]," + deep + "]"));
}

TEST(JsonReaderStrict, BracketsInStringsAndNames_AreNoNesting) {
    const std::string brackets(1000, '[');
    EXPECT_TRUE(accepts("{\"" + brackets + "\":\"" + brackets + "\"}"));
}

TEST(JsonReaderStrict, NestingWithoutEnd_Refused) {
    std::string objects;
    for (int i = 0; i < 100000; ++i) {
        objects += "{\"a\":";
    }
    EXPECT_FALSE(accepts(std::string(1000000, '[')));
    EXPECT_FALSE(accepts(objects));
}

TEST(JsonReaderStrict, WidthOfALevel_NotLimited) {
    EXPECT_TRUE(accepts(nested(std::string(kLimit, 'a'), 30)));
    EXPECT_TRUE(accepts(nested(std::string(kLimit, 'o'), 30)));
    EXPECT_TRUE(accepts(nested("oaoao", 100000)));
}

// The thread sanitizer takes minutes for a text of this size.
#ifndef THREAD_SANITIZED
TEST(JsonReaderStrict, TextBeyondTheLimit_Refused) {
    std::string text(std::size_t{JsonReader::kTextLimit} + 1, ' ');
    text.front() = '1';
    EXPECT_FALSE(accepts(text));
    JsonDocument document;
    const std::size_t length = text.size() - JsonDocument::kPadding;
    EXPECT_TRUE(document.read(text.data(), length));
    text.resize(text.size() + JsonDocument::kPadding);
    EXPECT_FALSE(document.read(text.data(), length + JsonDocument::kPadding));
}
#endif

struct Errand {
    std::string text;
    bool (*run)(const std::string& text);
    bool done = false;
};

template <bool kLenient>
bool treeIsCopied(const std::string& text) {
    Json::Value value;
    return JsonReader(kLenient).parse(text, value) &&
           *std::make_unique<Json::Value>(value) == value;
}

/// Also finds the 1 in nested objects by its name.
bool documentAnswers(const std::string& text) {
    std::string padded = text;
    padded.resize(text.size() + JsonDocument::kPadding);
    JsonDocument document;
    if (!document.read(padded.data(), text.size())) {
        return false;
    }
    JsonDocument::Node node = document.root();
    const std::string name = "1000000";
    for (std::size_t level = 0; text.front() == '{' && level < kLimit; ++level) {
        node = node[name];
    }
    return text.front() != '{' || node.asInt() == 1;
}

constexpr std::size_t kSmallStack = std::size_t{64} * 1024;

#ifdef ADDRESS_SANITIZED
// The sanitizer's malloc has stack frames of 2 KiB.
constexpr std::size_t kThreadStack = kSmallStack + std::size_t{8} * 1024;
#else
constexpr std::size_t kThreadStack = kSmallStack;
#endif

/// Uses a third of the small stack, as a caller's functions may do.
void* runErrand(void* argument) {
    std::array<volatile char, kSmallStack / 3> callers;
    for (volatile char& byte : callers) {
        byte = 1;
    }
    auto& errand = *static_cast<Errand*>(argument);
    errand.done = errand.run(errand.text);
    return callers[0] == 1 ? argument : nullptr;
}

bool isDoneOnASmallStack(const std::string& text, bool (*run)(const std::string& text)) {
    Errand errand{text, run};
    pthread_attr_t attributes{};
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    EXPECT_EQ(pthread_attr_setstacksize(&attributes, kThreadStack), 0);
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, &attributes, &runErrand, &errand), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
    return errand.done;
}

TEST(JsonReaderStrict, OrdinaryTree_ReadCopiedAndFreedOnASmallStack) {
    for (const std::string& text :
         {nested(std::string(kOrdinary, 'a')), nested(std::string(kOrdinary, 'o')),
          nested(alternating(kOrdinary), 1023), nested(std::string(kOrdinary, 'a'), 30000),
          R"([1e400,"\ud800",)" + nested(std::string(kOrdinary - 1, 'o'), 30) + "]"}) {
        EXPECT_TRUE(isDoneOnASmallStack(text, &treeIsCopied<false>)) << text.substr(0, 200);
    }
}

TEST(JsonReaderStrict, NestedBeyondTheLimit_RefusedOnASmallStack) {
    // Two are malformed only at their end.
    for (const std::string& text :
         {nested(std::string(kLimit, 'a'), 31) + "]", nested(std::string(kLimit, 'o'), 31) + "}",
          nested(std::string(kLimit + 1, 'a'), 31), nested(std::string(100000, 'a'))}) {
        EXPECT_FALSE(isDoneOnASmallStack(text, &treeIsCopied<false>)) << text.substr(0, 200);
    }
}

TEST(JsonDocument, NestedUpToTheLimit_ReadAndFreedOnASmallStack) {
    const std::string objects = nested(std::string(kLimit, 'o'));
    const std::string arrays = nested(std::string(kLimit - 1, 'a'));
    for (const std::string& text : {objects, arrays, nested(std::string(kLimit, 'a'), 31)}) {
        EXPECT_TRUE(isDoneOnASmallStack(text, &documentAnswers)) << text.substr(0, 200);
    }
    // Texts that only the strict reader accepts, and texts that both refuse.
    for (const std::string value : {"1e400", "\"\\ud800\"", "\"\xff\"", "99999999999999999999"}) {
        EXPECT_TRUE(isDoneOnASmallStack("[" + value + "," + arrays + "]", &documentAnswers));
        EXPECT_FALSE(isDoneOnASmallStack("[" + value + "," + arrays + ",]", &documentAnswers));
        EXPECT_FALSE(isDoneOnASmallStack("[" + value + ",[" + arrays + "]]", &documentAnswers));
    }
}

TEST(JsonReaderLenient, TreeAtTheLimit_ReadCopiedAndFreedOnASmallStack) {
    constexpr std::size_t kLevels = JsonReader::kLenientNestingLimit - 1;
    EXPECT_TRUE(isDoneOnASmallStack(nested(std::string(kLevels, 'a')), &treeIsCopied<true>));
    EXPECT_TRUE(isDoneOnASmallStack(nested(std::string(kLevels, 'o')), &treeIsCopied<true>));
}

} // namespace
