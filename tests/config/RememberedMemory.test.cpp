// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "support/AllocationFaults.h"
#include "support/Deployment.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <list>
#include <malloc.h>
#include <set>
#include <string>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using support::AllocationFault;
using support::Deployment;

constexpr const char* kAppConfig = R"({"processes":{"p1":{"nodeId":"n1"}}})";
constexpr int kQueriesUntilKept = 8;

std::string listWith(const std::string& first, const std::string& rest) {
    return R"({"nodeList":{"n1":{"IPAddresses":[{"usage":["service"],"IP":")" + first + "\"}]}" +
           rest + "}}";
}

std::string service() {
    return SysConfReader::Instance()->getLocalIPByUsage("service");
}

/// In every query until the parse is kept, each allocation fails once.
TEST(RememberedMemory, AnyAllocationFails_NextAnswersAreRight) {
    Deployment deployment;
    deployment.appConfig(kAppConfig);
    std::string nodes;
    for (int i = 0; i < 40; ++i) {
        nodes += ",\"x" + std::to_string(i) + R"(":{"name":"\n","n":1})";
    }
    SysConfReader::Instance();
    std::size_t failed = 0;
    /// For each query, the allocations without which it has no answer.
    std::vector<std::size_t> lost;
    int generation = 0;
    for (int query = 1; query <= kQueriesUntilKept; ++query) {
        std::size_t withoutAnswer = 0;
        for (std::size_t which = 1;; ++which) {
            const std::string address = "10.0.0." + std::to_string(++generation);
            deployment.nodeList(listWith(address, nodes));
            for (int i = 1; i < query; ++i) {
                ASSERT_EQ(service(), address);
            }
            bool happened = false;
            std::string answer;
            {
                const AllocationFault fault(which);
                answer = service();
                happened = fault.happened();
            }
            if (!happened) {
                EXPECT_EQ(answer, address);
                break;
            }
            ++failed;
            withoutAnswer += answer.empty() ? 1 : 0;
            EXPECT_TRUE(answer.empty() || answer == address) << answer;
            for (int i = 0; i < kQueriesUntilKept; ++i) {
                ASSERT_EQ(service(), address) << "query " << query << ", allocation " << which;
            }
        }
        lost.push_back(withoutAnswer);
    }
    // Only the answer of a query without memory for reading or answering is lost.
    EXPECT_EQ(std::set<std::size_t>(lost.begin() + 1, lost.end()).size(), 1U)
        << testing::PrintToString(lost);
    EXPECT_GT(failed, 30U);
}

std::size_t g_allocations = 0;

std::size_t allocationsOfQuery() {
    g_allocations = 0;
    support::setAllocationHook([] {
        ++g_allocations;
        return false;
    });
    service();
    support::setAllocationHook(nullptr);
    return g_allocations;
}

TEST(RememberedMemory, ChangedAtEachQueryAndThenNoMore_IsNotParsedAnyMore) {
    Deployment deployment;
    deployment.appConfig(kAppConfig);
    std::size_t parsing = 0;
    for (int change = 1; change <= 20; ++change) {
        deployment.nodeList(listWith("10.0.0." + std::to_string(change), ""));
        SysConfReader::Instance();
        parsing = allocationsOfQuery();
    }
    for (int i = 0; i < 2 * kQueriesUntilKept; ++i) {
        EXPECT_EQ(service(), "10.0.0.20");
    }
    const std::size_t kept = allocationsOfQuery();
    EXPECT_LT(kept, parsing);
    deployment.nodeList(listWith("10.0.0.21", ""));
    EXPECT_GT(allocationsOfQuery(), kept);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(__clang__)

std::size_t allocated() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// The result is a multiple of the length of `text`.
double keptFor(Deployment& deployment, const std::string& text, int queries) {
    SysConfReader::Instance();
    deployment.nodeList(R"({"nodeList":{}})");
    service();
    const std::size_t before = allocated();
    deployment.nodeList(text);
    for (int i = 0; i < queries; ++i) {
        EXPECT_EQ(service(), "10.0.0.1");
    }
    return static_cast<double>(allocated() - before) / static_cast<double>(text.size());
}

class MemoryOfLists : public testing::Test {
protected:
    MemoryOfLists() { deployment.appConfig(kAppConfig); }

    static std::string listOf(const std::string& node, std::size_t length) {
        std::string nodes;
        for (int i = 0; nodes.size() < length; ++i) {
            nodes += ",\"x" + std::to_string(i) + "\":" + node;
        }
        return listWith("10.0.0.1", nodes);
    }

    Deployment deployment;
};

constexpr const char* kMinified =
    R"({"IPAddresses":[{"IP":"10.20.30.40","usage":["southbound"]},{"IP":"10.20.30.41","usage":["service"]}]})";

constexpr const char* kIndented = R"({
      "IPAddresses": [
        {
          "IP": "10.20.30.40",
          "usage": [
            "southbound"
          ]
        }
      ]
    })";

TEST_F(MemoryOfLists, OrdinaryLists_TakeLessThanTwoAndAHalfTimesTheirLength) {
    for (const char* node : {kMinified, kIndented}) {
        const double kept = keptFor(deployment, listOf(node, 2'000'000), kQueriesUntilKept);
        EXPECT_LT(kept, 2.0) << node;
        EXPECT_GT(kept, 1.0) << node;
    }
}

TEST_F(MemoryOfLists, ParseLargerThanUsual_OnlyTheTextIsKept) {
    std::string numbers = "[1";
    for (int i = 0; i < 500; ++i) {
        numbers += ",1";
    }
    const double kept = keptFor(deployment, listOf(numbers + "]", 2'000'000), kQueriesUntilKept);
    EXPECT_LT(kept, 1.1);
    EXPECT_GT(kept, 0.9);
}

TEST_F(MemoryOfLists, TextOf64MiB_IsNotKept) {
    const std::string text = listOf(kIndented, 1000) + std::string(64U << 20U, ' ');
    EXPECT_LT(keptFor(deployment, text, 3), 0.01);
}

TEST_F(MemoryOfLists, Destroyed_EverythingIsFreed) {
    SysConfReader::Instance();
    SysConfReader::Destory();
    const std::size_t before = allocated();
    deployment.managerNodeList(listOf(kMinified, 2'000'000));
    std::list<std::string> addresses;
    EXPECT_EQ(SysConfReader::Instance()->getIPAddresses("", "x", addresses), 0);
    EXPECT_GT(allocated(), before + 2'000'000);
    EXPECT_GT(keptFor(deployment, listOf(kMinified, 2'000'000), kQueriesUntilKept), 1.0);
    SysConfReader::Destory();
    EXPECT_LT(allocated(), before + 20'000);
}

#endif

} // namespace
