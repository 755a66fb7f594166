#include "rules/LocalIPByUsage.h"
#include "rules/Json.h"

#include <gtest/gtest.h>

namespace {

using Quarncommon::rules::addressByTag;
using Quarncommon::rules::Node;

struct Row {
    const char* name;
    const char* addresses;
    const char* tag;
    const char* expected;
};

TEST(AddressByTag, EachList_FirstTaggedEntryDecides) {
    const Row rows[] = {
        {"first in file order", R"([{"IP":"A","usage":["x"]},{"IP":"B","usage":["x"]}])", "x", "A"},
        {"second tag of an entry", R"([{"IP":"A","usage":["w","x"]}])", "x", "A"},
        {"capitals in the list", R"([{"IP":"A","usage":["SerVice"]}])", "service", "A"},
        {"capitals in what is asked", R"([{"IP":"A","usage":["service"]}])", "Service", ""},
        {"beginning only", R"([{"IP":"A","usage":["service"]}])", "serv", ""},
        {"more than the tag", R"([{"IP":"A","usage":["service"]}])", "service2", ""},
        {"empty tag", R"([{"IP":"A","usage":["x"]},{"IP":"B","usage":[""]}])", "", "B"},
        {"plain string", R"([{"IP":"A","usage":"x"}])", "x", ""},
        {"first without IP", R"([{"usage":["x"]},{"IP":"B","usage":["x"]}])", "x", ""},
        {"null IP", R"([{"IP":null,"usage":["x"]},{"IP":"B","usage":["x"]}])", "x", ""},
        {"no usage", R"([{"IP":"A"},{"IP":"B","usage":["x"]}])", "x", "B"},
        {"null entry", R"([null,{"IP":"B","usage":["x"]}])", "x", "B"},
        {"number as IP", R"([{"IP":5,"usage":["x"]}])", "x", "5"},
        {"number as tag", R"([{"IP":"A","usage":[5]}])", "5", "A"},
        {"null as tag", R"([{"IP":"A","usage":[null]}])", "", "A"},
        {"no entries", "[]", "x", ""},
        {"null", "null", "x", ""},
        {"text in place of the array", R"("x")", "x", ""},
        {"wrong IP behind the answer", R"([{"IP":"A","usage":["x"]},{"IP":[1],"usage":["x"]}])",
         "x", "A"},
        {"wrong IP of another tag", R"([{"IP":[1],"usage":["w"]},{"IP":"B","usage":["x"]}])", "x",
         "B"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(addressByTag(Node(json(row.addresses)), row.tag), row.expected) << row.name;
    }
}

TEST(AddressByTag, WrongTypesOnTheWay_ThrowWhatJsoncppThrows) {
    const char* const lists[] = {R"([{"IP":{},"usage":["x"]}])",
                                 R"([{"IP":[],"usage":["x"]}])",
                                 R"([{"IP":"A","usage":[[]]}])",
                                 R"([{"IP":"A","usage":[{}]}])",
                                 R"(["x"])",
                                 R"([["x"]])",
                                 R"({"a":{"usage":["x"]}})",
                                 R"([{"IP":"A","usage":{"a":"x"}}])",
                                 R"([7,{"IP":"A","usage":["x"]}])"};
    for (const char* list : lists) {
        EXPECT_THROW(addressByTag(Node(json(list)), "x"), Json::Exception) << list;
    }
}

} // namespace
