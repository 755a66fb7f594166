// SPDX-License-Identifier: Apache-2.0
// Lists with a very large entry. A query takes linear time for any list; quadratic time would
// exceed the test's time limit.

#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/HostAddresses.h"
#include "support/Operations.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

std::string times(std::size_t number, const std::string& piece) {
    std::string text;
    text.reserve(number * piece.size());
    for (std::size_t i = 0; i < number; ++i) {
        text += piece;
    }
    return text;
}

std::string listOf(const std::string& addresses) {
    const auto node = [&](const std::string& id, const std::string& role,
                          const std::string& domain) {
        return "\"" + id + R"(":{"extAttr":{"hostType":")" + role + R"(","domain_node_type":")" +
               domain + R"("},"assignedToTenancy":"t","IPAddresses":[)" + addresses + "]}";
    };
    return R"({"nodeList":{)" + node("node-of-this-process-own", "master", "ACCESS_Master") + "," +
           node("other", "standby", "ACCESS_Backup") + "}}";
}

std::string entry(const std::string& address, std::size_t members, const std::string& tags) {
    return "{" + times(members, R"("":0,)") + R"("IP":")" + address + R"(","usage":[)" + tags +
           "\"x\"]}";
}

class HostileLists : public testing::Test {
protected:
    HostileLists() {
        support::setHostAddresses({});
        support::installEventLibrary("recording");
        files.appConfig(operations::appConfig("own"));
    }

    operations::Answers answersOver(const std::string& list) {
        files.nodeList(list).managerNodeList(list);
        operations::createAll();
        operations::reloadAll();
        return operations::answers();
    }

    support::Deployment files;
};

const std::string kTags =
    R"("maintenance","service","service2","southbound","southbound11","northbound","northbound5",)";
constexpr std::size_t kMany = 100000;

TEST_F(HostileLists, ManyMembersAndTagsInOneEntry_AnswersLikeForEachTagOnce) {
    const operations::Answers once = answersOver(listOf(entry("A", 0, kTags)));
    const std::string many = listOf(entry("A", 3 * kMany, times(kMany / 7, kTags)));
    EXPECT_EQ(operations::differences(answersOver(many), once), "");
}

TEST_F(HostileLists, LongAddressWithManyTags_AnswersLikeForEachTagOnce) {
    const std::string address(2000000, 'A');
    const operations::Answers once = answersOver(listOf(entry(address, 0, kTags)));
    const std::string many = listOf(entry(address, 0, times(kMany / 7, kTags)));
    EXPECT_TRUE(operations::differences(answersOver(many), once).empty());
}

/// The long name is the first pivot of a sort that takes the median of the second name, the middle
/// one and the last one.
std::string manyNamesAndALongOne(std::size_t number, std::size_t length) {
    std::string members = R"("0":0,"1":0,)";
    const std::size_t middle = (number + 3) / 2 - 2;
    for (std::size_t i = 0; i < number; ++i) {
        std::array<char, 16> name{};
        const auto mixed = static_cast<std::uint32_t>(i) * 0x9E3779B1U;
        std::snprintf(name.data(), name.size(), "\"%08x\":0,", static_cast<unsigned>(mixed));
        members += i == middle ? "\"8" + std::string(length, 'x') + "\":0," : name.data();
    }
    return members + R"("e":0)";
}

TEST_F(HostileLists, LongNameAmongManyOutOfOrder_AnswersLikeWithoutThem) {
    const std::string list = listOf(entry("A", 0, kTags));
    const operations::Answers without = answersOver(list);
    const std::string names = manyNamesAndALongOne(12 * kMany, 16U << 20U);
    EXPECT_EQ(operations::differences(answersOver("{\"ignored\":{" + names + "}," + list.substr(1)),
                                      without),
              "");
}

} // namespace
