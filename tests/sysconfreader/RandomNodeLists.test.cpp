// Compares every query that reads a list with the naive rules on random lists, and checks
// properties that hold for every list.

#include "OwnNode.h"
#include "rules/NaiveRules.h"
#include "rules/RandomLists.h"
#include "support/HostAddresses.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using Quarncommon::SysConfReader;

using ByNumber = std::map<int, std::string>;
using ByTag = std::map<std::string, std::string>;
using ByNode = std::map<std::string, std::set<std::string>>;

constexpr int kLists = support::rounds(1000);

/// Runs a check on random lists, written to both files; one in twenty does not parse.
class RandomNodeLists : public testing::Test {
protected:
    template <typename Check>
    void forEachList(Check check) {
        for (int seed = 1; seed <= kLists && !HasFailure(); ++seed) {
            RandomLists random(static_cast<std::uint64_t>(seed));
            naive::File list = random.list();
            std::string text = textOf(*list);
            if (random.oneIn(20)) {
                text.resize(random.below(text.size()));
                list.reset();
            }
            node.files.nodeList(text).managerNodeList(text);
            const testing::ScopedTrace trace(__FILE__, __LINE__,
                                             "seed " + std::to_string(seed) + ": " + text);
            check(random, list);
        }
    }

    SysConfReader& reader() { return node.reader(); }

    OwnNode node;
};

ByTag callersTags(RandomLists& random) {
    ByTag tags;
    for (std::size_t n = random.oneIn(2) ? 0 : random.below(4); n > 0; --n) {
        tags[random.callersKey()] = "before";
    }
    return tags;
}

ByNumber callersNumbers(RandomLists& random) {
    ByNumber numbers;
    for (std::size_t n = random.oneIn(2) ? 0 : random.below(4); n > 0; --n) {
        numbers[random.callersNumber()] = "before";
    }
    return numbers;
}

TEST_F(RandomNodeLists, LocalIPByUsage_MatchesTheNaiveRules) {
    int found = 0;
    forEachList([&](RandomLists& random, const naive::File& list) {
        const std::string tag = random.askedTag();
        const std::string answer = reader().getLocalIPByUsage(tag);
        EXPECT_EQ(answer, naive::localIPByUsage(list, "n1", "n1", tag)) << tag;
        EXPECT_EQ(reader().getLocalMaintenanceIP(),
                  naive::localIPByUsage(list, "n1", "n1", "maintenance"));
        EXPECT_EQ(reader().getLocalServiceIP(), naive::localServiceIP(list, "n1", "M"));
        EXPECT_EQ(reader().getLocalService2IP(),
                  naive::localIPByUsage(list, "n1", "n1", "service2"));
        found += answer.empty() ? 0 : 1;
    });
    EXPECT_GT(found, kLists / 100);
}

TEST_F(RandomNodeLists, IPAddresses_MatchTheNaiveRules) {
    forEachList([&](RandomLists& random, const naive::File& list) {
        const std::string field = random.fieldName();
        const std::string prefix = random.valuePrefix();
        std::list<std::string> answer{"before", ""};
        std::list<std::string> expected = answer;
        EXPECT_EQ(reader().getIPAddresses(field, prefix, answer),
                  naive::ipAddresses(list, field, prefix, expected));
        EXPECT_EQ(answer, expected) << field << ' ' << prefix;
    });
}

TEST_F(RandomNodeLists, AllFloatIP_MatchesTheNaiveRules) {
    forEachList([&](RandomLists& random, const naive::File& list) {
        const std::set<std::string> tags = random.tags();
        ByNode answer{{random.nodeId(), {"before"}}};
        ByNode expected = answer;
        EXPECT_EQ(reader().getAllFloatIP(tags, answer), naive::allFloatIP(list, tags, expected));
        EXPECT_EQ(answer, expected) << testing::PrintToString(tags);
    });
}

TEST_F(RandomNodeLists, LocalNodeIPsByNumber_MatchTheNaiveRules) {
    forEachList([&](RandomLists& random, const naive::File& list) {
        const std::string prefix = random.prefix();
        ByNumber answer = callersNumbers(random);
        ByNumber expected = answer;
        std::string service[] = {"s", "s"};
        std::string service2[] = {"t", "t"};
        reader().getLocalNodeIPs(prefix, answer, service[0], service2[0]);
        naive::localNodeIPs(list, "n1", prefix, expected, service[1], service2[1]);
        EXPECT_EQ(answer, expected) << prefix;
        EXPECT_EQ(service[0], service[1]) << prefix;
        EXPECT_EQ(service2[0], service2[1]) << prefix;
    });
}

TEST_F(RandomNodeLists, LocalNodeIPsByTag_MatchTheNaiveRules) {
    forEachList([&](RandomLists& random, const naive::File& list) {
        ByTag answer = callersTags(random);
        ByTag expected = answer;
        const std::string before = testing::PrintToString(answer);
        reader().getLocalNodeIPs(answer);
        naive::localNodeIPs(list, "n1", expected);
        EXPECT_TRUE(answer == expected) << "keys before: " << before;
        // Again on the same map.
        reader().getLocalNodeIPs(answer);
        naive::localNodeIPs(list, "n1", expected);
        EXPECT_TRUE(answer == expected) << "second call, keys before the first: " << before;
    });
}

TEST_F(RandomNodeLists, NorthAndSouthIP_MatchTheNaiveRules) {
    int northSlots = 0;
    int southSlots = 0;
    forEachList([&](RandomLists&, const naive::File& list) {
        const std::string north = reader().getLocalNorthIP();
        const std::string south = reader().getLocalSouthIP();
        EXPECT_EQ(north, naive::localNorthIP(list, "n1", "M"));
        EXPECT_EQ(south, naive::localSouthIP(list, "n1", "M"));
        EXPECT_EQ(reader().getPFType(), naive::pfType(south)) << south;
        northSlots += north.find(";;") != std::string::npos ? 1 : 0;
        southSlots += south.find(";;") != std::string::npos ? 1 : 0;
    });
    EXPECT_GT(northSlots, kLists / 20);
    EXPECT_GT(southSlots, kLists / 20);
}

TEST_F(RandomNodeLists, SourceNodeId_MatchesTheNaiveRules) {
    const std::list<std::string> host{"10.0.0.3", "127.0.0.1", "fe80::1"};
    support::setHostAddresses({host.begin(), host.end()});
    int found = 0;
    forEachList([&](RandomLists&, const naive::File& list) {
        std::string answer = "before";
        std::string expected = "before";
        reader().getSourceNodeId(answer);
        naive::sourceNodeId(list, host, expected);
        EXPECT_EQ(answer, expected);
        found += answer == "before" ? 0 : 1;
    });
    EXPECT_GT(found, kLists / 100);
}

TEST_F(RandomNodeLists, Outputs_AreAppendedToAndNeverCleared) {
    forEachList([&](RandomLists& random, const naive::File&) {
        std::list<std::string> addresses{"one", "two"};
        const std::string field = random.fieldName();
        reader().getIPAddresses(field, random.valuePrefix(), addresses);
        EXPECT_EQ(addresses.front(), "one");
        EXPECT_EQ(*std::next(addresses.begin()), "two");
        EXPECT_EQ(std::count(std::next(addresses.begin(), 2), addresses.end(), ""), 0);

        ByNode byNode{{random.nodeId(), {"one"}}, {"two", {}}};
        const ByNode nodesBefore = byNode;
        reader().getAllFloatIP(random.tags(), byNode);
        for (const auto& [id, tagged] : nodesBefore) {
            EXPECT_EQ(byNode[id], tagged) << id;
        }

        ByNumber byNumber = callersNumbers(random);
        const ByNumber numbersBefore = byNumber;
        std::string service;
        reader().getLocalNodeIPs(random.prefix(), byNumber, service, service);
        for (const auto& [number, address] : numbersBefore) {
            EXPECT_EQ(byNumber[number], address) << number;
        }

        ByTag byTag = callersTags(random);
        const ByTag tagsBefore = byTag;
        reader().getLocalNodeIPs(byTag);
        for (const auto& [tag, address] : tagsBefore) {
            EXPECT_EQ(byTag.count(tag), 1U) << tag;
        }
    });
}

TEST_F(RandomNodeLists, UnchangedFile_AnswersTheSameAgain) {
    forEachList([&](RandomLists& random, const naive::File&) {
        const std::string tag = random.askedTag();
        EXPECT_EQ(reader().getLocalIPByUsage(tag), reader().getLocalIPByUsage(tag));
        EXPECT_EQ(reader().getLocalNorthIP(), reader().getLocalNorthIP());
        EXPECT_EQ(reader().getLocalSouthIP(), reader().getLocalSouthIP());

        // Queries that keep existing outputs, again on the same output.
        const std::set<std::string> tags = random.tags();
        ByNode byNode;
        reader().getAllFloatIP(tags, byNode);
        const ByNode nodes = byNode;
        reader().getAllFloatIP(tags, byNode);
        EXPECT_EQ(byNode, nodes);

        const std::string prefix = random.prefix();
        ByNumber byNumber;
        std::string service;
        std::string service2;
        reader().getLocalNodeIPs(prefix, byNumber, service, service2);
        const ByNumber numbers = byNumber;
        const std::string services = service + ";" + service2;
        reader().getLocalNodeIPs(prefix, byNumber, service, service2);
        EXPECT_EQ(byNumber, numbers);
        EXPECT_EQ(service + ";" + service2, services);

        // The query that appends: the same addresses again.
        std::list<std::string> once;
        reader().getIPAddresses("kind", "", once);
        std::list<std::string> twice;
        reader().getIPAddresses("kind", "", twice);
        reader().getIPAddresses("kind", "", twice);
        const std::list<std::string> again(
            std::next(twice.begin(), static_cast<std::ptrdiff_t>(once.size())), twice.end());
        EXPECT_EQ(again, once);
    });
}

TEST_F(RandomNodeLists, NodesInAnyOrderInTheFile_AnswerInAscendingOrderOfIds) {
    RandomLists random(1);
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        std::vector<std::string> ids;
        for (int n = 0; n < 12; ++n) {
            ids.push_back("n" + std::to_string(random.below(200)));
        }
        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        std::vector<std::string> shuffled = ids;
        for (std::size_t n = shuffled.size(); n > 1; --n) {
            std::swap(shuffled[n - 1], shuffled[random.below(n)]);
        }
        std::string list;
        for (const std::string& id : shuffled) {
            list += (list.empty() ? "\"" : ",\"") + id + R"(":{"IPAddresses":[)" +
                    addressEntry(id, {"x"}) + "]}";
        }
        node.files.managerNodeList(R"({"nodeList":{)" + list + "}}");
        std::list<std::string> addresses;
        EXPECT_EQ(reader().getIPAddresses("", "", addresses), 0);
        EXPECT_EQ(std::vector<std::string>(addresses.begin(), addresses.end()), ids) << list;
    }
}

} // namespace
