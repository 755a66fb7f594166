#include "rules/ManagerNodes.h"
#include "rules/Json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Quarncommon::rules::appendAddresses;
using Quarncommon::rules::collectTaggedAddresses;
using Quarncommon::rules::Node;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(AppendAddresses, SelectedNodes_AscendByIdAndKeepFileOrderAndDuplicates) {
    std::list<std::string> addresses{"old"};
    appendAddresses(Node(json(R"({"nodeList":{
        "b":{"k":"t1","IPAddresses":[{"IP":"2"},{"IP":"1"},{"IP":""},{},{"IP":null},{"IP":"2"}]},
        "a":{"k":"t12","IPAddresses":[{"IP":"2"}]},
        "c":{"k":"xt1","IPAddresses":[{"IP":"9"}]}}})")),
                    "k", "t1", addresses);
    EXPECT_THAT(addresses, ElementsAre("old", "2", "2", "1", "2"));
}

TEST(AppendAddresses, WrongTypeOnTheWay_ThrowsWithWhatCameBefore) {
    std::list<std::string> addresses;
    EXPECT_THROW(appendAddresses(Node(json(R"({"nodeList":{
        "a":{"IPAddresses":[{"IP":"1"}]},"b":{"IPAddresses":[{"IP":"2"},{"IP":{}}]},
        "c":{"IPAddresses":[{"IP":"3"}]}}})")),
                                 "k", "", addresses),
                 Json::Exception);
    EXPECT_THAT(addresses, ElementsAre("1", "2"));
}

TEST(CollectTaggedAddresses, EveryNode_GetsItsSet) {
    std::map<std::string, std::set<std::string>> byNode{{"b", {"mine"}}};
    collectTaggedAddresses(Node(json(R"({"nodeList":{
        "a":{"IPAddresses":[{"IP":"2","usage":["X","w"]},{"IP":"2","usage":["x"]},{"usage":["w"]},
                            {"IP":"3","usage":["v"]}]},
        "b":{"IPAddresses":[{"IP":"7","usage":["x"]}]},
        "c":null}})")),
                           {"x", "w", "V"}, byNode);
    EXPECT_THAT(byNode, ElementsAre(Pair("a", ElementsAre("", "2")), Pair("b", ElementsAre("mine")),
                                    Pair("c", IsEmpty())));
}

TEST(CollectTaggedAddresses, WrongTypeOnTheWay_ThrowsWithTheWholeNodesBefore) {
    std::map<std::string, std::set<std::string>> byNode;
    EXPECT_THROW(collectTaggedAddresses(Node(json(R"({"nodeList":{
        "a":{"IPAddresses":[{"IP":"1","usage":["x"]}]},
        "b":{"IPAddresses":[{"IP":"2","usage":["x"]},7]}}})")),
                                        {"x"}, byNode),
                 Json::Exception);
    EXPECT_THAT(byNode, ElementsAre(Pair("a", ElementsAre("1"))));
}

TEST(ManagerNodes, ListThatIsNoObject_Throws) {
    for (const char* list : {R"({"nodeList":[]})", R"({"nodeList":[{}]})", R"({"nodeList":"x"})",
                             R"({"nodeList":7})", "[]", R"("x")", "7"}) {
        std::list<std::string> addresses;
        std::map<std::string, std::set<std::string>> byNode;
        EXPECT_THROW(appendAddresses(Node(json(list)), "k", "", addresses), Json::Exception)
            << list;
        EXPECT_THROW(collectTaggedAddresses(Node(json(list)), {}, byNode), Json::Exception) << list;
    }
}

TEST(ManagerNodes, ListThatIsAbsentOrNull_HasNoNodes) {
    for (const char* list : {"{}", "null", R"({"nodeList":null})", R"({"nodeList":{}})"}) {
        std::list<std::string> addresses;
        std::map<std::string, std::set<std::string>> byNode;
        appendAddresses(Node(json(list)), "k", "", addresses);
        collectTaggedAddresses(Node(json(list)), {"x"}, byNode);
        EXPECT_THAT(addresses, IsEmpty()) << list;
        EXPECT_THAT(byNode, IsEmpty()) << list;
    }
}

} // namespace
