// SPDX-License-Identifier: Apache-2.0
#include "OwnNode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

using Quarncommon::SysConfReader;

using Tags = std::set<std::string>;
using ByNode = std::map<std::string, Tags>;

struct Answer {
    int result;
    ByNode byNode;
};

bool operator==(const Answer& a, const Answer& b) {
    return a.result == b.result && a.byNode == b.byNode;
}
void PrintTo(const Answer& answer, std::ostream* out) {
    *out << answer.result << ' ' << testing::PrintToString(answer.byNode);
}

Answer ask(const Tags& tags, ByNode before = {}) {
    Answer answer{99, std::move(before)};
    answer.result = SysConfReader::Instance()->getAllFloatIP(tags, answer.byNode);
    return answer;
}

std::string list(const std::string& entriesOfN) {
    return listOf(nodeWith("n", entriesOfN));
}

TEST(FloatIPs, EachNodeAndTags_GivesTheTaggedAddresses) {
    const struct {
        const char* name;
        std::string entries;
        Tags tags;
        Tags expected;
    } rows[] = {
        {"one tag", entries("A=x,B=y"), {"x"}, {"A"}},
        {"several tags", entries("A=x,B=y,C=z"), {"x", "z"}, {"A", "C"}},
        {"capitals in the list", entries("A=FloatX"), {"floatx"}, {"A"}},
        {"capitals in the request", entries("A=FloatX,B=floatx"), {"FloatX"}, {}},
        {"several tags of one entry", entries("A=x|y"), {"x", "y"}, {"A"}},
        {"same address twice", entries("A=x,A=x"), {"x"}, {"A"}},
        {"beginning of a tag", entries("A=floating"), {"float"}, {}},
        {"tagged entry without IP", R"({"usage":["x"]},)" + entries("A=x"), {"x"}, {"", "A"}},
        {"tagged entry with empty IP", entries("=x"), {"x"}, {""}},
        {"null IP", R"({"IP":null,"usage":["x"]})", {"x"}, {""}},
        {"plain string", R"({"IP":"A","usage":"x"})", {"x"}, {}},
        {"no tags asked for", entries("A=x,B="), {}, {}},
        {"empty tag", entries("A=x,B="), {""}, {"B"}},
        {"quote, space, NUL", entries(R"(A=a \"\u0000b)"), {"a \"\0b"s}, {"A"}},
        {"not in ASCII", entries("A=\xC3\xA9"), {"\xC3\xA9"}, {"A"}},
        {"no entries", "", {"x"}, {}},
        {"entry without usage", R"({"IP":"A"})", {"x"}, {}},
    };
    support::Deployment files;
    for (const auto& row : rows) {
        files.managerNodeList(list(row.entries));
        EXPECT_EQ(ask(row.tags), (Answer{0, {{"n", row.expected}}})) << row.name;
    }
}

TEST(FloatIPs, EveryNode_IsInsertedEvenWithoutAddress) {
    support::Deployment files;
    files.managerNodeList(
        listOf(R"("b":{},"a":null,"d":{"IPAddresses":null},)" + nodeWith("c", entries("C=x"))));
    EXPECT_EQ(ask({"x"}), (Answer{0, {{"a", {}}, {"b", {}}, {"c", {"C"}}, {"d", {}}}}));
    EXPECT_EQ(ask({}), (Answer{0, {{"a", {}}, {"b", {}}, {"c", {}}, {"d", {}}}}));
    EXPECT_EQ(ask({"y"}), (Answer{0, {{"a", {}}, {"b", {}}, {"c", {}}, {"d", {}}}}));
}

TEST(FloatIPs, NodesAlreadyInTheMap_KeepTheirAddresses) {
    support::Deployment files;
    files.managerNodeList(list(entries("new=x")));
    EXPECT_EQ(ask({"x"}, {{"n", {"old"}}, {"other", {"o"}}}),
              (Answer{0, {{"n", {"old"}}, {"other", {"o"}}}}));
    EXPECT_EQ(ask({"x"}, {{"n", {}}}), (Answer{0, {{"n", {}}}}));
    EXPECT_EQ(ask({"x"}, {{"N", {"old"}}}), (Answer{0, {{"N", {"old"}}, {"n", {"new"}}}}));
}

TEST(FloatIPs, NoNodes_Answer0) {
    support::Deployment files;
    for (const char* text : {"{}", "null", R"({"nodeList":null})", R"({"nodeList":{}})"}) {
        files.managerNodeList(text);
        EXPECT_EQ(ask({"x"}, {{"old", {}}}), (Answer{0, {{"old", {}}}})) << text;
    }
}

TEST(FloatIPs, ListThatDoesNotParse_AnswersMinusOne) {
    support::Deployment files;
    EXPECT_EQ(ask({"x"}, {{"old", {}}}), (Answer{-1, {{"old", {}}}})) << "missing";
    for (const char* text : {"", " ", "{", "{} x", "{'a':1}", "nul"}) {
        files.managerNodeList(text);
        EXPECT_EQ(ask({"x"}, {{"old", {}}}), (Answer{-1, {{"old", {}}}})) << text;
    }
}

TEST(FloatIPs, WrongType_AnswersMinusOneWithTheNodesBefore) {
    const struct {
        const char* text;
        ByNode expected;
    } rows[] = {
        {"[]", {}},
        {"7", {}},
        {R"({"nodeList":[]})", {}},
        {R"({"nodeList":"text"})", {}},
        {R"({"nodeList":{"a":{},"b":7,"c":{}}})", {{"a", {}}}},
        {R"({"nodeList":{"a":{},"b":{"IPAddresses":{"x":{}}}}})", {{"a", {}}}},
        {R"({"nodeList":{"a":{"IPAddresses":[{"IP":"A","usage":["x"]}]},
                         "b":{"IPAddresses":[{"IP":"B","usage":["x"]},7]}}})",
         {{"a", {"A"}}}},
        {R"({"nodeList":{"a":{},"b":{"IPAddresses":[{"IP":{},"usage":["x"]}]}}})", {{"a", {}}}},
        {R"({"nodeList":{"a":{},"b":{"IPAddresses":[{"usage":[[]]}]}}})", {{"a", {}}}},
        {R"({"nodeList":{"a":{},"b":{"IPAddresses":[{"usage":{"0":"x"}}]}}})", {{"a", {}}}},
    };
    support::Deployment files;
    for (const auto& row : rows) {
        files.managerNodeList(row.text);
        ByNode expected = row.expected;
        expected["old"] = {};
        EXPECT_EQ(ask({"x"}, {{"old", {}}}), (Answer{-1, expected})) << row.text;
    }
}

TEST(FloatIPs, WrongTypeOfAnIPWithoutTheTag_IsIgnored) {
    support::Deployment files;
    files.managerNodeList(list(R"({"IP":{},"usage":["y"]},)" + entries("A=x")));
    EXPECT_EQ(ask({"x"}), (Answer{0, {{"n", {"A"}}}}));
}

TEST(FloatIPs, NothingLoaded_Answers) {
    support::Deployment files;
    support::setEnvironment("APP_CONF_FILE", nullptr);
    support::setEnvironment("APP_ROOT", nullptr);
    files.managerNodeList(list(entries("A=x")));
    EXPECT_EQ(ask({"x"}), (Answer{0, {{"n", {"A"}}}}));
}

} // namespace
