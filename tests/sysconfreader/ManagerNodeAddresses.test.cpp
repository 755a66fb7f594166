// SPDX-License-Identifier: Apache-2.0
#include "OwnNode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

using Quarncommon::SysConfReader;
using testing::ElementsAre;
using testing::IsEmpty;

using Addresses = std::list<std::string>;

struct Answer {
    int result;
    Addresses addresses;
};

bool operator==(const Answer& a, const Answer& b) {
    return a.result == b.result && a.addresses == b.addresses;
}
void PrintTo(const Answer& answer, std::ostream* out) {
    *out << answer.result << ' ' << testing::PrintToString(answer.addresses);
}

Answer ask(const std::string& field, const std::string& prefix, Addresses before = {}) {
    Answer answer{99, std::move(before)};
    answer.result = SysConfReader::Instance()->getIPAddresses(field, prefix, answer.addresses);
    return answer;
}

constexpr const char* kList = R"({"nodeList":{
    "B":{"kind":"t1","n":15,"b":true,"IPAddresses":[{"IP":"b1"},{"IP":"shared"}]},
    "A":{"kind":"t12","n":-1,"IPAddresses":[{"IP":"a1"},{"IP":""},{"IP":"a1"},{},{"IP":null},
                                            {"IP":"shared","usage":["ignored"]}]},
    "C":{"kind":"xt1","IPAddresses":[{"IP":"c1"}]},
    "D":{"kind":"T1","IPAddresses":[{"IP":"d1"}]},
    "E":{"IPAddresses":[{"IP":"e1"}]},
    "F":{"kind":"t1"}}})";

TEST(ManagerNodeAddresses, EachFieldAndPrefix_SelectsItsNodesInTheirOrder) {
    support::Deployment files;
    files.managerNodeList(kList);
    const struct {
        const char* name;
        std::string field;
        std::string prefix;
        Addresses expected;
    } rows[] = {
        {"nodes by id, addresses by position, duplicates kept",
         "kind",
         "t1",
         {"a1", "a1", "shared", "b1", "shared"}},
        {"prefix and more", "kind", "t12", {"a1", "a1", "shared"}},
        {"prefix elsewhere in the value", "kind", "1", {}},
        {"letter case", "kind", "T", {"d1"}},
        {"longer than every value", "kind", "t123", {}},
        {"empty prefix", "kind", "", {"a1", "a1", "shared", "b1", "shared", "c1", "d1", "e1"}},
        {"empty prefix, field of no node",
         "absent",
         "",
         {"a1", "a1", "shared", "b1", "shared", "c1", "d1", "e1"}},
        {"field of no node", "absent", "x", {}},
        {"field name in another letter case", "Kind", "t", {}},
        {"number as text", "n", "1", {"b1", "shared"}},
        {"negative number as text", "n", "-", {"a1", "a1", "shared"}},
        {"boolean as text", "b", "tr", {"b1", "shared"}},
        {"prefix with a NUL", "kind", "t\0"s, {}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ask(row.field, row.prefix), (Answer{0, row.expected})) << row.name;
    }
}

TEST(ManagerNodeAddresses, ListWithAddressesBefore_IsAppendedTo) {
    support::Deployment files;
    files.managerNodeList(kList);
    EXPECT_EQ(ask("kind", "T1", {"one", "two"}), (Answer{0, {"one", "two", "d1"}}));
    EXPECT_EQ(ask("kind", "x", {"d1"}), (Answer{0, {"d1", "c1"}}));
}

TEST(ManagerNodeAddresses, NodeWithAnEmptyAndARealAddress_GivesTheRealOne) {
    support::Deployment files;
    files.managerNodeList(R"({"nodeList":{"n":{"IPAddresses":[{"IP":""},{"IP":"real"}]}}})");
    EXPECT_EQ(ask("x", ""), (Answer{0, {"real"}}));
}

TEST(ManagerNodeAddresses, NoNodes_Answer0) {
    support::Deployment files;
    for (const char* list : {"{}", "null", R"({"nodeList":null})", R"({"nodeList":{}})"}) {
        files.managerNodeList(list);
        EXPECT_EQ(ask("kind", "", {"old"}), (Answer{0, {"old"}})) << list;
    }
}

TEST(ManagerNodeAddresses, ListThatDoesNotParse_AnswersMinusOne) {
    support::Deployment files;
    EXPECT_EQ(ask("kind", "", {"old"}), (Answer{-1, {"old"}})) << "missing";
    for (const char* text : {"", " ", "{", "{} x", "{'a':1}", "[1,]", "\xEF\xBB\xBF{}"}) {
        files.managerNodeList(text);
        EXPECT_EQ(ask("kind", "", {"old"}), (Answer{-1, {"old"}})) << text;
    }
}

TEST(ManagerNodeAddresses, WrongType_AnswersMinusOneWithTheAddressesBefore) {
    support::Deployment files;
    const struct {
        const char* list;
        Addresses expected;
    } rows[] = {
        {"[]", {"old"}},
        {"7", {"old"}},
        {R"({"nodeList":[]})", {"old"}},
        {R"({"nodeList":[{"IPAddresses":[{"IP":"1"}]}]})", {"old"}},
        {R"({"nodeList":"text"})", {"old"}},
        {R"({"nodeList":{"a":{"IPAddresses":[{"IP":"1"}]},"b":7}})", {"old", "1"}},
        {R"({"nodeList":{"a":{"IPAddresses":[{"IP":"1"}]},"b":[]}})", {"old", "1"}},
        {R"({"nodeList":{"a":{"IPAddresses":[{"IP":"1"}]},"b":{"kind":{}}}})", {"old", "1"}},
        {R"({"nodeList":{"a":{"IPAddresses":[{"IP":"1"}]},"b":{"kind":[]}}})", {"old", "1"}},
        {R"({"nodeList":{"a":{"IPAddresses":[{"IP":"1"},{"IP":[]},{"IP":"2"}]}}})", {"old", "1"}},
        {R"({"nodeList":{"a":{"IPAddresses":[{"IP":"1"},7,{"IP":"2"}]}}})", {"old", "1"}},
        {R"({"nodeList":{"a":{"IPAddresses":{"x":{"IP":"1"}}}}})", {"old"}},
    };
    for (const auto& row : rows) {
        files.managerNodeList(row.list);
        EXPECT_EQ(ask("kind", "", {"old"}), (Answer{-1, row.expected})) << row.list;
    }
}

TEST(ManagerNodeAddresses, NodeThatIsNotSelected_IsNotRead) {
    support::Deployment files;
    files.managerNodeList(
        R"({"nodeList":{"a":{"kind":"x","IPAddresses":[7]},"b":{"kind":"t","IPAddresses":[{"IP":"1"}]}}})");
    EXPECT_EQ(ask("kind", "t"), (Answer{0, {"1"}}));
}

TEST(ManagerNodeAddresses, IdsOfEveryKind_AscendByBytes) {
    support::Deployment files;
    files.managerNodeList(R"({"nodeList":{
        "n9":{"IPAddresses":[{"IP":"n9"}]},"n10":{"IPAddresses":[{"IP":"n10"}]},
        "\u00ff":{"IPAddresses":[{"IP":"beyond"}]},"Z":{"IPAddresses":[{"IP":"Z"}]},
        "n\u0000":{"IPAddresses":[{"IP":"NUL"}]},"n":{"IPAddresses":[{"IP":"n"}]},
        " ":{"IPAddresses":[{"IP":"space"}]},"":{"IPAddresses":[{"IP":"none"}]},
        "\"":{"IPAddresses":[{"IP":"quote"}]}}})");
    EXPECT_EQ(ask("", ""),
              (Answer{0, {"none", "space", "quote", "Z", "n", "NUL", "n10", "n9", "beyond"}}));
}

} // namespace
