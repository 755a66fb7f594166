// Every rule against its naive telling, on lists made by chance.

#include "rules/RandomLists.h"
#include "config/ConfigDocument.h"
#include "rules/LocalIPByUsage.h"
#include "rules/ManagerNodes.h"
#include "rules/NaiveRules.h"
#include "rules/NodeIPs.h"
#include "rules/NodeList.h"
#include "rules/Roles.h"
#include "rules/SlotLists.h"
#include "rules/SourceNodeId.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

namespace {

namespace rules = Quarncommon::rules;

constexpr int kLists = support::rounds(8000);
/// Where the naive telling builds a thousand keys for each list.
constexpr int kListsWithKeys = support::rounds(2000);

/// Runs a test for as many lists as agreed, each in both forms that rules take: the full tree, and
/// the document that the library reads. Each failure tells its seed and its list.
template <typename Check>
void forEachList(int lists, Check check) {
    for (int seed = 1; seed <= lists && !testing::Test::HasFailure(); ++seed) {
        const auto start = static_cast<std::uint64_t>(seed);
        RandomLists random(start);
        const Json::Value list = random.list();
        std::string text = textOf(list);
        const testing::ScopedTrace trace(__FILE__, __LINE__,
                                         "seed " + std::to_string(seed) + ": " + text);
        check(random, list, list);

        RandomLists again(start);
        again.list();
        Quarncommon::config::Document document;
        const std::size_t length = text.size();
        text.append(Quarncommon::config::Document::kPadding, '?');
        ASSERT_TRUE(document.read(text.data(), length));
        check(again, list, document.root());
    }
}

/// What a step answers, or the type of the exception that it throws.
template <typename Step>
std::string outcome(Step step) {
    try {
        return "answer " + step();
    } catch (const Json::Exception& e) {
        return std::string("exception ") + typeid(e).name();
    }
}

template <typename Step>
bool throws(Step step) {
    try {
        step();
        return false;
    } catch (const Json::Exception&) {
        return true;
    }
}

/// How often the lists led to something worth comparing, so that a generator gone stale shows.
struct Tally {
    const char* what;
    int count = 0;
    ~Tally() { EXPECT_GT(count, kListsWithKeys / 50) << what; }
};

TEST(RulesOnRandomLists, AddressByTag_AnswersLikeTheNaiveTelling) {
    Tally found{"addresses found"};
    forEachList(kLists, [&](RandomLists& random, const Json::Value& list, const rules::Node& root) {
        const std::string node = random.askedNodeId();
        const std::string tag = random.askedTag();
        std::string answer;
        throws([&] {
            answer = rules::addressByTag(rules::addressEntries(rules::nodeEntry(root, node)),
                                         rules::lowerCased(tag));
        });
        EXPECT_EQ(answer, naive::localIPByUsage(list, node, node, tag)) << tag;
        found.count += answer.empty() ? 0 : 1;
    });
}

TEST(RulesOnRandomLists, AppendAddresses_AnswersLikeTheNaiveTelling) {
    Tally failed{"walks that end early"};
    Tally found{"addresses found"};
    forEachList(kLists, [&](RandomLists& random, const Json::Value& list, const rules::Node& root) {
        const std::string field = random.fieldName();
        const std::string prefix = random.valuePrefix();
        std::list<std::string> answer{"before"};
        std::list<std::string> expected{"before"};
        const bool threw = throws([&] { rules::appendAddresses(root, field, prefix, answer); });
        EXPECT_EQ(threw ? -1 : 0, naive::ipAddresses(list, field, prefix, expected));
        EXPECT_EQ(answer, expected) << field << ' ' << prefix;
        failed.count += threw ? 1 : 0;
        found.count += answer.size() > 1 ? 1 : 0;
    });
}

TEST(RulesOnRandomLists, CollectTaggedAddresses_AnswersLikeTheNaiveTelling) {
    Tally failed{"walks that end early"};
    Tally found{"sets with addresses"};
    forEachList(kLists, [&](RandomLists& random, const Json::Value& list, const rules::Node& root) {
        const std::set<std::string> tags = random.tags();
        std::map<std::string, std::set<std::string>> answer{{random.nodeId(), {"before"}}};
        auto expected = answer;
        const bool threw = throws([&] { rules::collectTaggedAddresses(root, tags, answer); });
        EXPECT_EQ(threw ? -1 : 0, naive::allFloatIP(list, tags, expected));
        EXPECT_EQ(answer, expected) << testing::PrintToString(tags);
        failed.count += threw ? 1 : 0;
        for (const auto& [node, addresses] : answer) {
            found.count += addresses.size() > 1 ? 1 : 0;
        }
    });
}

TEST(RulesOnRandomLists, CollectByNumber_AnswersLikeTheNaiveTelling) {
    Tally found{"numbers found"};
    forEachList(kLists, [&](RandomLists& random, const Json::Value& list, const rules::Node& root) {
        const std::string node = random.askedNodeId();
        const std::string prefix = random.prefix();
        std::map<int, std::string> answer{{random.callersNumber(), "before"}};
        auto expected = answer;
        std::string service = "s";
        std::string expectedService = "s";
        std::string service2 = "t";
        std::string expectedService2 = "t";
        throws([&] {
            rules::collectByNumber(rules::addressEntries(rules::nodeEntry(root, node)), prefix,
                                   answer, service, service2);
        });
        naive::localNodeIPs(list, node, prefix, expected, expectedService, expectedService2);
        EXPECT_EQ(answer, expected) << prefix;
        EXPECT_EQ(service, expectedService) << prefix;
        EXPECT_EQ(service2, expectedService2) << prefix;
        found.count += answer.size() > 1 ? 1 : 0;
    });
}

TEST(RulesOnRandomLists, NorthSlotList_IsWrittenLikeTheNaiveTelling) {
    Tally slots{"lists with slots"};
    forEachList(kLists, [&](RandomLists&, const Json::Value& list, const rules::Node& /*root*/) {
        std::map<int, std::string> byNumber;
        std::string service;
        std::string service2;
        naive::localNodeIPs(list, "n1", "northbound", byNumber, service, service2);
        rules::SlotMap shared;
        for (const auto& [number, address] : byNumber) {
            shared[number] = std::make_shared<const std::string>(address);
        }
        const std::string answer = rules::northSlotList(shared, service, service2, "M");
        EXPECT_EQ(answer, naive::localNorthIP(list, "n1", "M"));
        slots.count += byNumber.empty() ? 0 : 1;
    });
}

TEST(RulesOnRandomLists, SouthboundSlots_AnswerLikeTheNaiveTellingsThousandKeys) {
    Tally slots{"lists with slots"};
    forEachList(
        kListsWithKeys, [&](RandomLists&, const Json::Value& list, const rules::Node& root) {
            rules::SlotMap bySlot;
            rules::TagWalk seen;
            throws([&] {
                rules::collectSouthbound(rules::addressEntries(rules::nodeEntry(root, "n1")),
                                         "southbound", bySlot, seen);
            });
            const std::string answer = rules::southSlotList(bySlot, seen, "M");
            EXPECT_EQ(answer, naive::localSouthIP(list, "n1", "M"));
            slots.count += seen.hasFamily() ? 1 : 0;
        });
}

TEST(RulesOnRandomLists, SouthboundSlot_IsFoundExactlyForTheThousandKeys) {
    std::map<std::string, std::string> keys;
    naive::localNodeIPs(std::nullopt, "", keys);
    keys.erase("service");
    ASSERT_EQ(keys.size(), 1024U);
    std::set<int> slots;
    for (const auto& [tag, empty] : keys) {
        slots.insert(rules::southboundSlot(tag, "southbound"));
    }
    EXPECT_EQ(slots.size(), 1024U);
    EXPECT_EQ(slots.count(0), 0U);
    RandomLists random(1);
    for (int i = 0; i < kLists; ++i) {
        const std::string tag = random.tag();
        EXPECT_EQ(rules::southboundSlot(tag, "southbound") != 0, keys.count(tag) == 1) << tag;
    }
}

TEST(RulesOnRandomLists, SourceNode_IsFoundLikeInTheNaiveTelling) {
    Tally found{"source nodes"};
    const std::list<std::string> host{"10.0.0.3", "127.0.0.1", ""};
    forEachList(kLists, [&](RandomLists&, const Json::Value& list, const rules::Node& root) {
        std::map<std::string, std::string> table;
        throws([&] { rules::collectServiceAddresses(root, table); });
        const std::string* source = rules::sourceNode(table, host);
        std::string expected = "none";
        naive::sourceNodeId(list, host, expected);
        EXPECT_EQ(source != nullptr ? *source : "none", expected);
        found.count += source != nullptr ? 1 : 0;
    });
}

TEST(RulesOnRandomLists, InternalServiceAddress_AnswersAndThrowsLikeTheNaiveTelling) {
    Tally found{"addresses"};
    for (int seed = 1; seed <= kLists && !HasFailure(); ++seed) {
        RandomLists random(static_cast<std::uint64_t>(seed));
        random.list(); // decides how often this list is mistyped
        const Json::Value addresses = random.addresses();
        const std::string answer =
            outcome([&] { return rules::internalServiceAddress(rules::Node(addresses)); });
        EXPECT_EQ(answer, outcome([&] { return naive::internalServiceAddress(addresses); }))
            << "seed " << seed << ": " << textOf(addresses);
        found.count += answer.size() > std::string("answer ").size() ? 1 : 0;
    }
}

TEST(RulesOnRandomLists, FindMasterAndStandby_FindsAndThrowsLikeTheNaiveTelling) {
    Tally found{"roles found"};
    forEachList(kLists, [&](RandomLists& random, const Json::Value& list, const rules::Node& root) {
        const std::string tenancy = random.tenancy();
        std::string master = "m";
        std::string standby = "s";
        std::string expectedMaster = "m";
        std::string expectedStandby = "s";
        const bool threw =
            throws([&] { rules::findMasterAndStandby(root, tenancy, master, standby); });
        EXPECT_EQ(threw, throws([&] {
                      naive::masterAndStandby(list, tenancy, expectedMaster, expectedStandby);
                  }));
        EXPECT_EQ(master, expectedMaster);
        EXPECT_EQ(standby, expectedStandby);
        found.count += master != "m" || standby != "s" ? 1 : 0;
    });
}

TEST(RulesOnRandomLists, ProtocolFamily_IsToldLikeByTheNaiveTelling) {
    int families[3] = {};
    for (int seed = 1; seed <= kLists && !HasFailure(); ++seed) {
        RandomLists random(static_cast<std::uint64_t>(seed));
        std::list<std::string> pieces;
        std::string text;
        for (std::size_t n = random.below(6); n > 0; --n) {
            pieces.push_back(random.address());
            text += pieces.back() + ";";
        }
        const int family = rules::protocolFamily(pieces);
        EXPECT_EQ(family, naive::pfType(text)) << "seed " << seed << ": " << text;
        ++families[family];
    }
    for (const int count : families) {
        EXPECT_GT(count, kLists / 100);
    }
}

} // namespace
