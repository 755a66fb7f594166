// SPDX-License-Identifier: Apache-2.0

#include "query/Variables.h"

#include "cli/UsageError.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <set>
#include <spawn.h>
#include <unistd.h>

namespace {

using namespace sysconfctl;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const Query& query(std::string_view name) {
    return *queryNamed(name);
}

Reply reply(std::string_view name, Answer answer) {
    return {&query(name), {}, std::move(answer)};
}

TEST(Variables, Names_DeriveFromTheQueriesWithoutArguments) {
    std::set<std::string> names;
    for (const Query* one : variableQueries({}, false, "get")) {
        EXPECT_TRUE(takesArguments(*one, 0));
        EXPECT_TRUE(names.insert(variableName(*one)).second);
    }
    EXPECT_TRUE(names.contains("SYSCONF_LOCAL_SERVICE2_IP"));
    EXPECT_TRUE(names.contains("SYSCONF_LOCAL_NODE_IPS_BY_TAG"));
    EXPECT_FALSE(names.contains("SYSCONF_DB_TYPE"));
}

TEST(Variables, QueriesThatHaveNone_AreUsageErrors) {
    EXPECT_THROW(variableQueries({"db-type"}, true, "get"), UsageError);
    EXPECT_THROW(variableQueries({"no-such-query"}, true, "get"), UsageError);
    EXPECT_THROW(variableQueries({"all-db-info"}, false, "get"), UsageError);
    EXPECT_EQ(variableQueries({"all-db-info", "getLocalPort"}, true, "get").size(), 2U);
}

TEST(Variables, Values_AreTextsNumbersOrJson) {
    const auto value = [](std::string_view name, Answer answer) {
        return variableOf(reply(name, std::move(answer)), true).value;
    };
    EXPECT_EQ(value("local-north-ip", {std::string(" a\nb; ")}), " a\nb; ");
    EXPECT_EQ(value("local-port", {0}), "0");
    EXPECT_EQ(value("local-port", {NoAnswer{}}), std::nullopt);
    EXPECT_EQ(value("local-node-ips-by-tag", {Map{{"a", "1"}, {"b", "\n"}}}),
              R"({"a":"1","b":"\n"})");
    EXPECT_EQ(value("local-node-ips-by-tag", {Map{}}), "{}");
    EXPECT_EQ(value("all-db-info", {Json::Value(Json::objectValue)}), "{}");
}

TEST(Variables, Secret_HasNoValueUnlessRevealed) {
    const Reply secret = reply("all-db-info", {Json::Value(Json::objectValue)});
    EXPECT_EQ(variableOf(secret, false).value, std::nullopt);
    EXPECT_EQ(variableOf(secret, false).trouble, "");
    EXPECT_EQ(variableOf(secret, true).value, "{}");
}

TEST(Variables, AnswerWithNul_HasNoValueButAReason) {
    const AnswerVariable variable =
        variableOf(reply("local-service-ip", {std::string("1\0002", 3)}), false);
    EXPECT_EQ(variable.value, std::nullopt);
    EXPECT_THAT(variable.trouble, HasSubstr("NUL"));
    EXPECT_FALSE(variable.threw);
}

TEST(Variables, LongestAnswer_IsTheLongestThatAProgramCanInherit) {
    const auto variableWith = [](std::size_t size) {
        return variableOf(reply("local-service-ip", {std::string(size, 'x')}), false);
    };
    const std::size_t longest = 131072 - sizeof "SYSCONF_LOCAL_SERVICE_IP=";
    const std::string assignment =
        variableWith(longest).name + '=' + variableWith(longest).value.value();
    const auto startedWith = [](std::string entry) {
        std::string program = "/bin/true";
        std::array<char*, 2> words = {program.data(), nullptr};
        std::array<char*, 2> environment = {entry.data(), nullptr};
        return ::posix_spawn(nullptr, program.c_str(), nullptr, nullptr, words.data(),
                             environment.data());
    };
    EXPECT_EQ(startedWith(assignment), 0);
    if (::sysconf(_SC_PAGESIZE) == 4096) { // the limit is 32 pages
        EXPECT_EQ(startedWith(assignment + 'x'), E2BIG);
    }
    EXPECT_FALSE(variableWith(longest + 1).value.has_value());
    EXPECT_EQ(variableWith(longest + 1).trouble,
              "the answer to local-service-ip is longer than a variable may be (128 KiB), so "
              "SYSCONF_LOCAL_SERVICE_IP is unset");
}

TEST(Variables, Exception_HasNoValueButAReason) {
    Reply failed = reply("local-port", {NoAnswer{}});
    failed.error = "the broker \033 is gone";
    const AnswerVariable variable = variableOf(failed, false);
    EXPECT_EQ(variable.value, std::nullopt);
    EXPECT_EQ(variable.trouble, "local-port: the library threw: the broker \\x1b is gone");
    EXPECT_TRUE(variable.threw);
}

TEST(Variables, Lines_QuoteForTheirReader) {
    const AnswerVariable set{"SYSCONF_A", "it's \"$HOME\" `x` \\ \n!"};
    EXPECT_EQ(shellLine(set), "SYSCONF_A='it'\\''s \"$HOME\" `x` \\ \n!'\n");
    EXPECT_EQ(systemdLine(set), "SYSCONF_A=\"it's \\\"\\$HOME\\\" \\`x\\` \\\\ \n!\"\n");
    EXPECT_EQ(shellLine({"SYSCONF_A", ""}), "SYSCONF_A=''\n");
    EXPECT_EQ(shellLine({"SYSCONF_A"}), "unset SYSCONF_A\n");
    EXPECT_EQ(systemdLine({"SYSCONF_A"}), "");
}

TEST(Variables, Environment_ReplacesAndRemovesInheritedNames) {
    const std::vector<const char*> inherited = {
        "SYSCONF_A=old", "SYSCONF_B=old", "SYSCONF_AB=kept", "ODD", "SYSCONF_A=second", nullptr};
    EXPECT_THAT(
        environmentWith({{"SYSCONF_A", "new"}, {"SYSCONF_B"}, {"SYSCONF_C", ""}}, inherited.data()),
        ElementsAre("SYSCONF_AB=kept", "ODD", "SYSCONF_A=new", "SYSCONF_C="));
}

TEST(Variables, ChangedNames_AreThoseWithAnotherValue) {
    const std::vector<AnswerVariable> before = {{"A", "1"}, {"B"}, {"C", ""}, {"D", "4"}};
    const std::vector<AnswerVariable> after = {{"A", "1"}, {"B", ""}, {"C"}, {"D", "5"}};
    EXPECT_THAT(changedNames(before, after), ElementsAre("B", "C", "D"));
}

} // namespace
