// SPDX-License-Identifier: Apache-2.0
#include "JsonDocument.h"
#include "JsonReader.h"
#include "MadeInterfaces.h"
#include "QuarnCommonUtils.h"
#include "QuarnCommonUtils_i.h"
#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <new>
#include <string>

namespace {

enum class Outcome { Done, Refused, BadAlloc };

/// Runs the operation once for each of its allocations, which fails, and a last time without a
/// failure. Returns the number of allocations.
unsigned failEachAllocation(const std::function<bool()>& operation,
                            const std::function<void(Outcome, bool hasFailed)>& check) {
    for (unsigned failures = 0;; ++failures) {
        Outcome outcome{};
        bool hasFailed = false;
        {
            const support::AllocationFault fault(failures + 1);
            try {
                outcome = operation() ? Outcome::Done : Outcome::Refused;
            } catch (const std::bad_alloc&) {
                outcome = Outcome::BadAlloc;
            }
            hasFailed = fault.happened();
        }
        SCOPED_TRACE(failures);
        check(outcome, hasFailed);
        if (!hasFailed) {
            return failures;
        }
    }
}

TEST(JsonReaderStrict, MemoryRunsOutAnywhere_ThrowsBadAllocAndLeavesTheValueUnchanged) {
    // Allocates in every way: containers, names and texts that exceed the reader's first stack, and
    // a second reading because of a number out of range and a single surrogate.
    const std::string text = R"({"list":[1,2.5,[{"a":"b"}],1e400],"text":")" +
                             std::string(2000, 'x') + R"(","\ud800)" + std::string(300, 'y') +
                             R"(":{"a":1,"a":{"b":"c"}}})";
    Json::Value expected;
    ASSERT_TRUE(JsonReader(false).parse(text, expected));
    Json::Value value("old");
    const unsigned failures =
        failEachAllocation([&] { return JsonReader(false).parse(text, value); },
                           [&](Outcome outcome, bool hasFailed) {
                               EXPECT_EQ(outcome, hasFailed ? Outcome::BadAlloc : Outcome::Done);
                               EXPECT_EQ(value, hasFailed ? Json::Value("old") : expected);
                           });
    EXPECT_GT(failures, 20U);
}

void expectDocumentSurvives(const std::string& text) {
    std::string padded = text + std::string(JsonDocument::kPadding, ' ');
    JsonDocument document;
    ASSERT_TRUE(
        document.read("[7]                                                                ", 3));
    Json::Value read;
    const unsigned failures =
        failEachAllocation([&] { return document.read(padded.data(), text.size()); },
                           [&](Outcome outcome, bool hasFailed) {
                               EXPECT_EQ(outcome, hasFailed ? Outcome::BadAlloc : Outcome::Done);
                               read = document.root().value();
                               EXPECT_EQ(read.size(), hasFailed ? 1U : 2U);
                           });
    EXPECT_GT(failures, 4U);
}

TEST(JsonDocument, MemoryRunsOutWhileReading_ThrowsBadAllocAndLeavesTheDocumentUnchanged) {
    expectDocumentSurvives(R"([1,{"a":"b"}])");
    expectDocumentSurvives(R"([99999999999999999999,{"a":"b"}])");
}

TEST(JsonReaderLenient, MemoryRunsOutAnywhere_FailsAndLeavesTheValueUnchanged) {
    const std::string text = R"({"list":[1,2.5,[{"a":"b"}]]} // )" + std::string(300, 'y');
    Json::Value expected;
    ASSERT_TRUE(JsonReader(true).parse(text, expected));
    Json::Value value("old");
    const unsigned failures =
        failEachAllocation([&] { return JsonReader(true).parse(text, value); },
                           [&](Outcome outcome, bool hasFailed) {
                               EXPECT_EQ(outcome == Outcome::Done, !hasFailed);
                               EXPECT_EQ(value, hasFailed ? Json::Value("old") : expected);
                           });
    EXPECT_GT(failures, 20U);
}

TEST(QuarnCommonUtilsSplit, MemoryRunsOutAnywhere_ThrowsBadAllocAndAppendsNothing) {
    const std::string a(100, 'a');
    const std::string b(100, 'b');
    const std::string text = a + ";" + b;
    const std::string separator = ";";
    std::list<std::string> pieces{"before"};
    const unsigned failures = failEachAllocation(
        [&] {
            QuarnCommonUtils::split(text, separator, pieces);
            return true;
        },
        [&](Outcome outcome, bool hasFailed) {
            EXPECT_EQ(outcome, hasFailed ? Outcome::BadAlloc : Outcome::Done);
            EXPECT_EQ(pieces.size(), hasFailed ? 1U : 3U);
        });
    EXPECT_EQ(failures, 4U);
}

TEST(QuarnCommonUtilsGetAllIPAddr, MemoryRunsOutAnywhere_FreesTheListAndAppendsNothing) {
    const MadeInterfaces made({"10.0.0.1", "2001:db8:1111:2222:3333:4444:5555:6666"});
    std::list<std::string> addresses{"before"};
    const unsigned failures = failEachAllocation(
        [&] {
            QuarnCommonUtils_i::getAllIPAddr(addresses);
            return true;
        },
        [&](Outcome outcome, bool hasFailed) {
            EXPECT_EQ(outcome, hasFailed ? Outcome::BadAlloc : Outcome::Done);
            EXPECT_EQ(addresses.size(), hasFailed ? 1U : 3U);
            EXPECT_EQ(MadeInterfaces::unfreed(), 0);
        });
    EXPECT_EQ(failures, 3U);
}

} // namespace
