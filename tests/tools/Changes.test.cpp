// SPDX-License-Identifier: Apache-2.0
#include "watch/Changes.h"

#include "cli/UsageError.h"
#include "render/Json.h"
#include "render/Masking.h"

#include "support/Deployment.h"

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
              R"({"arguments":["a","0"],"causes":[],"kind":"change",)"
              R"("new":{"answered":false,"value":null},)"
              R"("old":{"answered":true,"value":"x"},"operation":"getDBType","query":"db-type",)"
              R"("schemaVersion":1,"time":"2023-11-14T22:13:20.007Z"})"
              "\n");
    EXPECT_EQ(
        changeLine({&before, nullptr}, kTime, {{"changed", "the list \"x\" changed"}}),
        R"({"arguments":["a","0"],"causes":["the list \"x\" changed"],"kind":"change","new":null,)"
        R"("old":{"answered":true,"value":"x"},"operation":"getDBType","query":"db-type",)"
        R"("schemaVersion":1,"time":"2023-11-14T22:13:20.007Z"})"
        "\n");
}

TEST(Changes, Cause_IsOneLineInEachFormat) {
    const Cause cause{"changed", "the list /a\033 changed", "/a\033", kTime};
    EXPECT_EQ(causeText(cause, 100), "2023-11-14T22:13:20.007Z  the list /a\\x1b changed\n");
    EXPECT_EQ(causeText(cause, 40), "2023-11-14T22:13:20.007Z  the list\n  /a\\x1b changed\n");
    EXPECT_EQ(causePlain(cause), "2023-11-14T22:13:20.007Z\t!\t\tthe list /a\\x1b changed\n");
    EXPECT_EQ(causeLine(cause),
              R"({"file":"/a\u001b","kind":"cause","name":"changed","schemaVersion":1,)"
              R"("text":"the list /a\u001b changed","time":"2023-11-14T22:13:20.007Z"})"
              "\n");
    EXPECT_EQ(causeLine({"host-addresses", "x"}).find("file"), std::string::npos);
}

SourceFile list(const std::string& text, bool loads) {
    SourceFile file;
    file.title = "node list";
    file.path = "/n";
    file.document = located::Document(text);
    file.loads = loads;
    return file;
}

std::string sentences(const std::vector<Cause>& causes) {
    std::string text;
    for (const Cause& cause : causes) {
        text += std::string(cause.name) + ": " + cause.sentence + '\n';
    }
    return text;
}

TEST(Changes, CauseOfAFile_NamesWhatNoLongerLoadsAndWhere) {
    const SourceFile one = list("{}", true);
    const SourceFile other = list("{\"a\": 1}", true);
    const SourceFile damaged = list("{\n  \"a\" 1}", false);
    SourceFile missing = list("", false);
    missing.unreadable = "No such file or directory";
    EXPECT_EQ(sentences(causesBetween(one, one)), "");
    EXPECT_EQ(sentences(causesBetween(missing, missing)), "");
    EXPECT_EQ(sentences(causesBetween(one, other)), "changed: the node list /n changed\n");
    EXPECT_EQ(sentences(causesBetween(one, damaged)),
              "no-longer-loads: the node list no longer loads: /n:2:7: a \":\" is expected between "
              "a member's name and its value\n");
    EXPECT_EQ(
        sentences(causesBetween(damaged, missing)),
        "no-longer-loads: the node list still does not load: /n: No such file or directory\n");
    EXPECT_EQ(sentences(causesBetween(missing, one)),
              "loads-again: the node list /n loads again\n");
}

TEST(Changes, CauseOfTheHost_NamesTheAddresses) {
    EXPECT_EQ(sentences(addressCauses({"a", "b"}, {"b", "a"})), "");
    EXPECT_EQ(sentences(addressCauses({"a", "b"}, {"b", "c", "d"})),
              "host-addresses: this host now carries c, d\n"
              "host-addresses: this host no longer carries a\n");
}

TEST(Changes, CausesOfChanges_AreThoseSinceTheLastChanges) {
    support::Deployment deployment;
    deployment.appConfig("{}").nodeList("{}");
    Causes causes;
    EXPECT_EQ(sentences(causes.update()), "");
    const std::string list = "changed: the node list " + deployment.nodeListPath().string();
    const std::string config =
        "changed: the application configuration file " + deployment.appConfigPath().string();
    const std::string manager =
        "loads-again: the manager node list " + deployment.managerNodeListPath().string();
    deployment.nodeList("[]");
    EXPECT_EQ(sentences(causes.update()), list + " changed\n");
    EXPECT_EQ(sentences(causes.update()), "");
    deployment.nodeList("[1]");
    EXPECT_EQ(sentences(causes.update()), list + " changed\n");
    deployment.appConfig("[]");
    EXPECT_EQ(sentences(causes.update()), config + " changed\n");
    EXPECT_EQ(sentences(causes.ofChanges()), list + " changed\n" + config + " changed\n");
    deployment.managerNodeList("{}");
    EXPECT_EQ(sentences(causes.update()), manager + " loads again\n");
    EXPECT_EQ(sentences(causes.ofChanges()), manager + " loads again\n");
    EXPECT_EQ(sentences(causes.ofChanges()), manager + " loads again\n");
}

TEST(Changes, AskedQuery_HasItsArgumentsInOneWord) {
    const AskedQuery bare = askedQuery("getDBType", "watch");
    EXPECT_EQ(bare.query->name, "db-type");
    EXPECT_TRUE(bare.arguments.empty());
    EXPECT_EQ(askedQuery("db-type 'or ders' 0", "watch").arguments, (Arguments{"or ders", "0"}));
    for (const char* wrong : {"", "db-tpe", "db-type x", "local-port 1"}) {
        EXPECT_THROW(askedQuery(wrong, "watch"), UsageError) << wrong;
    }
}

TEST(Changes, AnswerLine_IsTheReplyWithKindAndTime) {
    EXPECT_EQ(answerLine(seen("app-root", "/a").reply, kTime),
              R"({"answered":true,"arguments":[],"kind":"answer","operation":"GetAppRoot",)"
              R"("query":"app-root","schemaVersion":1,"time":"2023-11-14T22:13:20.007Z",)"
              R"("value":"/a"})"
              "\n");
}

} // namespace
