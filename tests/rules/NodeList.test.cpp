// SPDX-License-Identifier: Apache-2.0
#include "rules/NodeList.h"
#include "rules/Json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Quarncommon::rules;
using namespace std::string_literals;
using testing::ElementsAre;

TEST(LowerCased, EachText_ByteByByte) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"NorthBound2", "northbound2"},
        {"A\0Z"s, "a\0z"s},
        {"[@`{", "[@`{"},
        // Outside ASCII the C locale has no letters.
        {"\xC3\x84\xC4\xFF", "\xC3\x84\xC4\xFF"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(lowerCased(text), expected) << text;
    }
}

TEST(NodeListLookUps, AbsentMembers_ReadAsNullAndEmpty) {
    for (const char* list : {"null", "{}", R"({"nodeList":null})", R"({"nodeList":{"n2":{}}})",
                             R"({"nodeList":{"n1":null}})", R"({"nodeList":{"n1":{}}})",
                             R"({"nodeList":{"n1":{"extAttr":null,"IPAddresses":null}}})"}) {
        const Json::Value tree = json(list);
        const Node node = nodeEntry(Node(tree), "n1");
        EXPECT_TRUE(addressEntries(node).value().isNull()) << list;
        EXPECT_EQ(hostType(node), "") << list;
        EXPECT_EQ(tenancy(node), "") << list;
    }
}

TEST(NodeListLookUps, PresentMembers_AreFoundByExactId) {
    const Json::Value list = json(
        R"({"nodeList":{"a\u0000b":{"extAttr":{"hostType":"Master"},"assignedToTenancy":"T 1",
                                    "IPAddresses":[1]},"a":{}}})");
    const Node node = nodeEntry(Node(list), "a\0b"s);
    EXPECT_EQ(hostType(node), "Master");
    EXPECT_EQ(tenancy(node), "T 1");
    EXPECT_EQ(addressEntries(node).value(), json("[1]"));
    EXPECT_TRUE(nodeEntry(Node(list), "A").value().isNull());
}

TEST(NodeListLookUps, WrongTypes_ThrowWhatJsoncppThrows) {
    for (const char* list : {"[]", "7", R"({"nodeList":[]})", R"({"nodeList":"x"})"}) {
        EXPECT_THROW(nodeEntry(Node(json(list)), "n1"), Json::Exception) << list;
    }
    for (const char* node : {"[]", "7", R"("x")"}) {
        EXPECT_THROW(addressEntries(Node(json(node))), Json::Exception) << node;
        EXPECT_THROW(tenancy(Node(json(node))), Json::Exception) << node;
    }
    EXPECT_THROW(hostType(Node(json(R"({"extAttr":[]})"))), Json::Exception);
    EXPECT_THROW(hostType(Node(json(R"({"extAttr":{"hostType":{}}})"))), Json::Exception);
    EXPECT_THROW(tenancy(Node(json(R"({"assignedToTenancy":[]})"))), Json::Exception);
}

std::vector<std::string> walked(const char* addresses, const std::string& at, Walk then) {
    std::vector<std::string> seen;
    forEachTag(Node(json(addresses)), [&](AddressEntry<Node>& entry, const std::string& tag) {
        seen.push_back(*entry.address() + tag);
        return tag == at ? then : Walk::OtherTags;
    });
    return seen;
}

TEST(ForEachTag, EachAnswer_SteersTheWalk) {
    const char* const list =
        R"([{"IP":"A","usage":["X","y"]},{"IP":"B","usage":"x"},{"IP":"C","usage":["x","Z"]}])";
    EXPECT_THAT(walked(list, "", Walk::OtherTags), ElementsAre("Ax", "Ay", "Cx", "Cz"));
    EXPECT_THAT(walked(list, "x", Walk::NextEntry), ElementsAre("Ax", "Cx"));
    EXPECT_THAT(walked(list, "y", Walk::Stop), ElementsAre("Ax", "Ay"));
}

TEST(ForEachTag, ObjectsInPlaceOfArrays_ThrowUnlessEmpty) {
    const auto none = [](AddressEntry<Node>&, const std::string&) { return Walk::OtherTags; };
    EXPECT_NO_THROW(forEachTag(Node(json("{}")), none));
    EXPECT_NO_THROW(forEachTag(Node(json(R"([{"usage":{}}])")), none));
    EXPECT_THROW(forEachTag(Node(json(R"({"a":{}})")), none), Json::Exception);
    EXPECT_THROW(forEachTag(Node(json(R"([{"usage":{"a":"x"}}])")), none), Json::Exception);
}

} // namespace
