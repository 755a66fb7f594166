#include "rules/SourceNodeId.h"
#include "rules/Json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Quarncommon::rules::collectServiceAddresses;
using Quarncommon::rules::Node;
using Quarncommon::rules::sourceNode;
using testing::ElementsAre;
using testing::Pair;

TEST(CollectServiceAddresses, EachNode_LastServiceAddressUnlessStandby) {
    std::map<std::string, std::string> table;
    collectServiceAddresses(Node(json(R"({"nodeList":{
        "two":{"IPAddresses":[{"IP":"1","usage":["service"]},{"IP":"2","usage":["x","SERVICE"]}]},
        "once":{"IPAddresses":[{"IP":"3","usage":["service","service"]},{"IP":"4","usage":["y"]}]},
        "standby":{"extAttr":{"hostType":"standby"},"IPAddresses":[{"IP":"5","usage":["service"]}]},
        "Standby":{"extAttr":{"hostType":"Standby"},"IPAddresses":[{"IP":"6","usage":["service"]}]},
        "noIP":{"IPAddresses":[{"usage":["service"]}]},
        "plain":{"IPAddresses":[{"IP":"7","usage":"service"}]},
        "none":{}}})")),
                            table);
    EXPECT_THAT(table, ElementsAre(Pair("Standby", "6"), Pair("noIP", ""), Pair("once", "3"),
                                   Pair("two", "2")));
}

TEST(CollectServiceAddresses, TagBehindTheServiceTag_IsNotRead) {
    std::map<std::string, std::string> table;
    collectServiceAddresses(
        Node(json(R"({"nodeList":{"a":{"IPAddresses":[{"IP":"1","usage":["service",[]]}]}}})")),
        table);
    EXPECT_THAT(table, ElementsAre(Pair("a", "1")));
}

TEST(CollectServiceAddresses, ErrorPartWay_KeepsTheTable) {
    std::map<std::string, std::string> table;
    EXPECT_THROW(collectServiceAddresses(Node(json(R"({"nodeList":{
        "a":{"IPAddresses":[{"IP":"1","usage":["service"]}]},
        "b":{"IPAddresses":[{"IP":"2","usage":["service"]},7]},
        "c":{"IPAddresses":[{"IP":"3","usage":["service"]}]}}})")),
                                         table),
                 Json::Exception);
    EXPECT_THAT(table, ElementsAre(Pair("a", "1"), Pair("b", "2")));
}

TEST(SourceNode, EachTable_SmallestIdWithAnAddressOfTheHost) {
    const std::list<std::string> host{"10.0.0.2", "10.0.0.1"};
    const struct {
        std::map<std::string, std::string> table;
        const char* expected;
    } rows[] = {
        {{{"a", "10.0.0.1"}, {"b", "10.0.0.2"}}, "a"},
        {{{"a", "10.0.0.9"}, {"b", "10.0.0.2"}}, "b"},
        {{{"n10", "10.0.0.1"}, {"n9", "10.0.0.1"}}, "n10"},
        {{{"a", "10.0.0.11"}, {"b", "10.0.0."}, {"c", ""}}, nullptr},
        {{}, nullptr},
    };
    for (const auto& row : rows) {
        const std::string* found = sourceNode(row.table, host);
        EXPECT_EQ(found != nullptr ? *found : "none",
                  row.expected != nullptr ? row.expected : "none");
    }
}

} // namespace
