// SPDX-License-Identifier: Apache-2.0
#include "watch/Changes.h"

#include "render/Json.h"
#include "render/Masking.h"

#include <gtest/gtest.h>

namespace {

using namespace sysconfctl;

Observation seen(const char* query, Arguments arguments, const std::string& text) {
    Reply reply{&findQuery(query), std::move(arguments), textAnswer(text)};
    std::string identity = compactJson(toJson(reply));
    return {std::move(reply), std::move(identity)};
}

Observation seen(const char* query, const std::string& text) {
    return seen(query, {}, text);
}

const WallTime kTime = WallTime(std::chrono::milliseconds(1'700'000'000'007));

TEST(Changes, SameAnswers_None) {
    const std::vector<Observation> all = {seen("app-root", "/a"), seen("float-node-id", "n")};
    EXPECT_TRUE(changes(all, all).empty());
}

TEST(Changes, OneAnswerDiffers_ThatOne) {
    const std::vector<Observation> before = {seen("app-root", "/a"), seen("float-node-id", "n1")};
    const std::vector<Observation> after = {seen("app-root", "/a"), seen("float-node-id", "n2")};
    const std::vector<Change> found = changes(before, after);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].before, &before[1].reply);
    EXPECT_EQ(found[0].after, &after[1].reply);
}

TEST(Changes, SameQueryWithOtherArguments_OneIsRemovedAndOneAdded) {
    const std::vector<Observation> before = {seen("db-type", {"a", "0"}, "x")};
    const std::vector<Observation> after = {seen("db-type", {"b", "0"}, "x")};
    const std::vector<Change> found = changes(before, after);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].before, nullptr);
    EXPECT_EQ(found[0].after, &after[0].reply);
    EXPECT_EQ(found[1].before, &before[0].reply);
    EXPECT_EQ(found[1].after, nullptr);
}

TEST(Changes, PasswordDiffers_IsAChangeThatShowsNeither) {
    Observation before = seen("db-password", {"a", "0"}, "one");
    Observation after = seen("db-password", {"a", "0"}, "two");
    mask(before.reply.answer, Secret::Whole);
    mask(after.reply.answer, Secret::Whole);
    const std::vector<Observation> all = {before};
    const std::vector<Observation> next = {after};
    const std::vector<Change> found = changes(all, next);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(changeText(found[0], kTime, 100),
              "2023-11-14T22:13:20.007Z  db-password a 0\n  - ********\n  + ********\n");
}

TEST(Changes, Text_HasOldAndNewLines) {
    Reply before{
        &findQuery("all-float-ip"), {"service"}, {Groups{{"n1", {"a", "b\n"}}, {"n2", {}}}}};
    Reply after{&findQuery("all-float-ip"), {"service"}, {List{}}};
    EXPECT_EQ(changeText({&before, &after}, kTime, 100),
              "2023-11-14T22:13:20.007Z  all-float-ip service\n"
              "  - n1 a b\\n\n  - n2\n  + (empty)\n");
    before.error = "gone\033";
    after.answer = {NoAnswer{}};
    EXPECT_EQ(changeText({&before, &after}, kTime, 100),
              "2023-11-14T22:13:20.007Z  all-float-ip service\n"
              "  - error: gone\\x1b\n  + (no answer)\n");
    EXPECT_EQ(changeText({nullptr, &after}, kTime, 100),
              "2023-11-14T22:13:20.007Z  all-float-ip service\n  + (no answer)\n");
}

TEST(Changes, Text_IsNoWiderThanAsked) {
    const Reply before{&findQuery("db-type"), {"a", "0"}, textAnswer("one two three four")};
    EXPECT_EQ(changeText({&before, nullptr}, kTime, 14, false),
              "2023-11-14T22:\n13:20.007Z \ndb-type a 0\n  - one two\n    three four\n");
}

TEST(Changes, Plain_IsOneLineForEachLineOfAnAnswer) {
    const Reply before{&findQuery("db-type"), {"a", "0"}, textAnswer("x\t")};
    const Reply after{&findQuery("all-float-ip"), {"s"}, {Groups{{"n1", {"a"}}, {"n2", {}}}}};
    EXPECT_EQ(answerPlain(after, kTime), "2023-11-14T22:13:20.007Z\t=\tall-float-ip s\tn1\ta\n"
                                         "2023-11-14T22:13:20.007Z\t=\tall-float-ip s\tn2\n");
    EXPECT_EQ(changePlain({&before, nullptr}, kTime),
              "2023-11-14T22:13:20.007Z\t-\tdb-type a 0\tx\\t\n");
    EXPECT_EQ(changePlain({nullptr, &before}, kTime),
              "2023-11-14T22:13:20.007Z\t+\tdb-type a 0\tx\\t\n");
}

TEST(Changes, Line_IsOneJsonObjectWithBothAnswers) {
    const Reply before{&findQuery("db-type"), {"a", "0"}, textAnswer("x")};
    Reply after{&findQuery("db-type"), {"a", "0"}, textAnswer("")};
    EXPECT_EQ(changeLine({&before, &after}, kTime),
              R"({"arguments":["a","0"],"kind":"change","new":{"answered":false,"value":null},)"
              R"("old":{"answered":true,"value":"x"},"operation":"getDBType","query":"db-type",)"
              R"("schemaVersion":1,"time":"2023-11-14T22:13:20.007Z"})"
              "\n");
    EXPECT_EQ(changeLine({&before, nullptr}, kTime),
              R"({"arguments":["a","0"],"kind":"change","new":null,)"
              R"("old":{"answered":true,"value":"x"},"operation":"getDBType","query":"db-type",)"
              R"("schemaVersion":1,"time":"2023-11-14T22:13:20.007Z"})"
              "\n");
}

TEST(Changes, AnswerLine_IsTheReplyWithKindAndTime) {
    EXPECT_EQ(answerLine(seen("app-root", "/a").reply, kTime),
              R"({"answered":true,"arguments":[],"kind":"answer","operation":"GetAppRoot",)"
              R"("query":"app-root","schemaVersion":1,"time":"2023-11-14T22:13:20.007Z",)"
              R"("value":"/a"})"
              "\n");
}

} // namespace
