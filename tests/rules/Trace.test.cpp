// SPDX-License-Identifier: Apache-2.0

#include "rules/LocalIPByUsage.h"
#include "rules/ManagerNodes.h"
#include "rules/NodeIPs.h"
#include "rules/Roles.h"
#include "rules/SlotLists.h"
#include "rules/SourceNodeId.h"
#include "rules/TraceText.h"

#include <gmock/gmock.h>

namespace {

using namespace Quarncommon::rules;
using testing::ElementsAre;
using Lines = TraceText::Lines;

Lines only(const Lines& lines, const std::string& text) {
    Lines found;
    for (const std::string& line : lines) {
        if (line.find(text) != std::string::npos) {
            found.push_back(line);
        }
    }
    return found;
}

TEST(Trace, AddressByTag_ReportsEntriesTagsAndTheMatch) {
    EXPECT_THAT(traced(R"([{"usage":["x"]},{"IP":"A","usage":["Y","z"]},{"IP":"B"}])",
                       [](const TracedNode& list) { addressByTag(list, "y"); }),
                ElementsAre("entry /0", "read /0/usage/0 = x", "tag x at /0/usage/0", "entry /1",
                            "read /1/usage/0 = Y", "tag y at /1/usage/0", "read /1/IP = A",
                            "y filled by /1 = A"));
}

TEST(Trace, NodeEntry_ReportsWhetherTheNodeIsListed) {
    const char* const list = R"({"nodeList":{"n":{"IPAddresses":[]}}})";
    EXPECT_THAT(traced(list, [](const TracedNode& root) { nodeEntry(root, "n"); }),
                ElementsAre("lookup /nodeList/n found"));
    EXPECT_THAT(traced(list, [](const TracedNode& root) { nodeEntry(root, "m"); }),
                ElementsAre("lookup /nodeList/m absent"));
}

TEST(Trace, CollectByNumber_ReportsKeptNumbersAndOverriddenServices) {
    const auto rule = [](const TracedNode& list) {
        std::map<int, std::string> byNumber;
        std::string service;
        std::string service2;
        collectByNumber(list, "n", byNumber, service, service2);
    };
    EXPECT_THAT(only(traced(R"([{"IP":"A","usage":["n2","service","service"]},
                                {"IP":"B","usage":["n2","service","service2"]}])",
                            rule),
                     "filled"),
                ElementsAre("2 filled by /0 = A", "service filled by /0 = A",
                            "service filled by /1 = B", "service2 filled by /1 = B"));
    EXPECT_THAT(
        traced(R"({"a":{"IP":"A","usage":{"x":"n3"}},"b":{"IP":"B","usage":["n3"]}})", rule),
        ElementsAre("entry /a", "read /a/IP = A", "read /a/usage/x = n3", "tag n3 at /a/usage/x",
                    "3 filled by /a = A", "entry /b", "read /b/IP = B", "read /b/usage/0 = n3",
                    "tag n3 at /b/usage/0", "3 kept, not /b"));
}

TEST(Trace, CollectByTag_ReportsEachFilledSlot) {
    const auto rule = [](const TracedNode& list) {
        SlotMap bySlot;
        TagWalk seen;
        collectSouthbound(list, "s", bySlot, seen);
    };
    EXPECT_THAT(only(traced(R"([{"IP":"A","usage":["s","s2","service"]},
                                {"IP":"B","usage":["s2","service2","s1"]}])",
                            rule),
                     "filled"),
                ElementsAre("s filled by /0 = A", "s2 filled by /0 = A", "service filled by /0 = A",
                            "s2 filled by /1 = B", "service2 filled by /1 = B"));
}

TEST(Trace, InternalServiceAddress_ReportsTheFallbackOrThatItIsNotNeeded) {
    const auto rule = [](const TracedNode& list) { internalServiceAddress(list); };
    const Lines lines = traced(
        R"([{"IP":"A","usage":["maintenance"]},{"IP":"B","usage":["internal_service"]}])", rule);
    EXPECT_THAT(only(lines, "filled"),
                ElementsAre("maintenance filled by /0 = A", "internal_service filled by /1 = B"));
    EXPECT_THAT(only(lines, "needed"), ElementsAre("maintenance not needed"));
    EXPECT_THAT(only(traced(R"([{"IP":"A","usage":["maintenance"]}])", rule), "fallback"),
                ElementsAre("fallback to maintenance = A"));
    EXPECT_THAT(traced("[]", rule), ElementsAre("fallback to maintenance = "));
}

TEST(Trace, FindMasterAndStandby_ReportsRolesAndWhyNodesAreSkipped) {
    EXPECT_THAT(only(traced(R"({"nodeList":{
                 "a":{"assignedToTenancy":"t",
                      "extAttr":{"hostType":"master","domain_node_type":"ACCESS_Master"}},
                 "b":{"assignedToTenancy":"u"},
                 "c":{"assignedToTenancy":"t","extAttr":{"hostType":"master"}},
                 "d":{"assignedToTenancy":"t",
                      "extAttr":{"hostType":"standby","domain_node_type":"ACCESS_Backup"}}}})",
                            [](const TracedNode& list) {
                                std::string master;
                                std::string standby;
                                findMasterAndStandby(list, "t", master, standby);
                            }),
                     "ed "),
                ElementsAre("master filled by /nodeList/a = a",
                            "skipped /nodeList/b: other tenancy", "skipped /nodeList/c: other role",
                            "standby filled by /nodeList/d = d"));
}

TEST(Trace, RoleOf_ReportsTheTextsThatNameTheRole) {
    EXPECT_THAT(only(traced(R"({"nodeList":{
                 "a":{"extAttr":{"hostType":"master","domain_node_type":"ACCESS_Master"}},
                 "b":{"extAttr":{"hostType":"Standby","domain_node_type":"ACCESS_Backup"}}}})",
                            [](const TracedNode& list) {
                                roleOf(nodeEntry(list, "a"));
                                roleOf(nodeEntry(list, "b"));
                            }),
                     "role "),
                ElementsAre("role master at /nodeList/a, of master and ACCESS_Master",
                            "role  at /nodeList/b, of Standby and ACCESS_Backup"));
}

TEST(Trace, CollectServiceAddresses_ReportsStandbysAndEachAddress) {
    EXPECT_THAT(only(traced(R"({"nodeList":{
                          "a":{"extAttr":{"hostType":"standby"}},
                          "b":{"IPAddresses":[{"IP":"1","usage":["service","service"]},
                                              {"IP":"2","usage":["service"]}]}}})",
                            [](const TracedNode& list) {
                                std::map<std::string, std::string> services;
                                collectServiceAddresses(list, services);
                            }),
                     "ed "),
                ElementsAre("skipped /nodeList/a: standby",
                            "b filled by /nodeList/b/IPAddresses/0 = 1",
                            "b filled by /nodeList/b/IPAddresses/1 = 2"));
}

TEST(Trace, SourceNode_ReportsEachComparisonUpToTheFirstMatch) {
    TraceText trace;
    sourceNode({{"a", "1"}, {"b", "2"}, {"c", "2"}}, {"2"}, &trace);
    EXPECT_THAT(trace.lines, ElementsAre("a has 1", "b has 2, carried"));
}

TEST(Trace, AppendAddresses_ReportsSelectedNodesAndTheirAddresses) {
    EXPECT_THAT(only(traced(R"({"nodeList":{"a":{"k":"x","IPAddresses":[{"IP":"1"},{}]},
                                            "b":{"k":"y"}}})",
                            [](const TracedNode& list) {
                                std::list<std::string> addresses;
                                appendAddresses(list, "k", "x", addresses);
                            }),
                     "ed "),
                ElementsAre("collected /nodeList/a/IPAddresses/0 = 1",
                            "skipped /nodeList/a/IPAddresses/1: no address", "finished /nodeList/a",
                            "skipped /nodeList/b: other field"));
}

TEST(Trace, CollectTaggedAddresses_ReportsNodesThatTheCallerHas) {
    EXPECT_THAT(only(traced(R"({"nodeList":{"a":{"IPAddresses":[{"IP":"1","usage":["x","x"]}]},
                                            "b":{}}})",
                            [](const TracedNode& list) {
                                std::map<std::string, std::set<std::string>> byNode = {{"b", {}}};
                                collectTaggedAddresses(list, {"x"}, byNode);
                            }),
                     "ed "),
                ElementsAre("collected /nodeList/a/IPAddresses/0 = 1", "finished /nodeList/a",
                            "skipped /nodeList/b: already in answer", "finished /nodeList/b"));
}

TEST(Trace, NorthSlotList_ReportsPlacesOrTheFallback) {
    TraceText trace;
    const auto shared = [](const char* text) { return std::make_shared<const std::string>(text); };
    northSlotList({{0, shared("A")}, {1, shared("B")}, {3, shared("")}}, "S", "", "M", &trace);
    EXPECT_THAT(trace.lines, ElementsAre("service not needed", "service2 not needed",
                                         "0 placed 1 = A", "3 placed 3 = ", "1 placed 5 = B"));
    trace.lines.clear();
    northSlotList({}, "S", "T", "M", &trace);
    northSlotList({}, "", "T", "M", &trace);
    EXPECT_THAT(trace.lines,
                ElementsAre("fallback to service = S;T", "fallback to maintenance = M"));
}

TEST(Trace, SouthSlotList_ReportsPlacesAndServicesLeftOut) {
    const SlotMap slots = {{2, std::make_shared<std::string>("B")},
                           {11, std::make_shared<std::string>("")},
                           {12, std::make_shared<std::string>("L")}};
    TraceText trace;
    southSlotList(slots, {true, true, "", ""}, "M", &trace);
    EXPECT_THAT(trace.lines, ElementsAre("service not needed", "service2 not needed",
                                         "2 placed 2 = B", "12 placed 11 = L"));
    trace.lines.clear();
    southSlotList(slots, {true, false, "S", "T"}, "M", &trace);
    EXPECT_THAT(trace.lines, ElementsAre("service2 not needed", "fallback to service = S"));
}

TEST(Trace, AddServices_ReportsServicesLeftOutUnlessTheyAreTheCallersKeys) {
    TraceText trace;
    std::map<std::string, std::string> byTag = {{"service", "own"}};
    addServices({true, true, "", ""}, byTag, &trace);
    EXPECT_THAT(trace.lines, ElementsAre("service2 not needed"));
}

TEST(Trace, ValueOfTheWrongType_IsReportedWithItsPathBeforeItThrows) {
    const auto byTag = [](const TracedNode& root) {
        addressByTag(addressEntries(nodeEntry(root, "n")), "x");
    };
    const struct {
        const char* list;
        const char* mismatch;
    } rows[] = {
        {"[1]", "mismatch at the root: expected object, found type 6"},
        {R"({"nodeList":"x"})", "mismatch at /nodeList: expected object, found type 4"},
        {R"({"nodeList":{"n":7}})", "mismatch at /nodeList/n: expected object, found type 1"},
        {R"({"nodeList":{"n":{"IPAddresses":{"a":1}}}})",
         "mismatch at /nodeList/n/IPAddresses: expected array, found type 7"},
        {R"({"nodeList":{"n":{"IPAddresses":[true]}}})",
         "mismatch at /nodeList/n/IPAddresses/0: expected object, found type 5"},
        {R"({"nodeList":{"n":{"IPAddresses":[{"usage":[{}]}]}}})",
         "mismatch at /nodeList/n/IPAddresses/0/usage/0: expected text, found type 7"},
        {R"({"nodeList":{"n":{"IPAddresses":[{"IP":[],"usage":["x"]}]}}})",
         "mismatch at /nodeList/n/IPAddresses/0/IP: expected text, found type 6"},
    };
    for (const auto& row : rows) {
        const Lines lines = traced(row.list, byTag);
        ASSERT_GE(lines.size(), 2U) << row.list;
        EXPECT_EQ(lines[lines.size() - 2], row.mismatch);
        EXPECT_EQ(lines.back(), "thrown");
    }
}

TEST(Trace, NumberOfTheWrongType_IsReported) {
    const auto read = [](const TracedNode& node) { node.asInt(); };
    EXPECT_THAT(traced("5", read), ElementsAre("read the root = 5"));
    for (const char* text : {R"("5")", "5e9", "[]"}) {
        EXPECT_THAT(only(traced(text, read), "mismatch at the root: expected int"),
                    testing::SizeIs(1))
            << text;
    }
}

TEST(Trace, ThatContinues_ReadsEachValueOfTheWrongTypeAsNull) {
    struct Resuming : TraceText {
        bool resumesAfter(const TypeMismatch& /*mismatch*/) override { return true; }
    } trace;
    const Json::Value list = json(
        R"([{"IP":{},"usage":["n"]},{"IP":"B","usage":[[],"n2"]},7,{"IP":"C","usage":["n3"]}])");
    std::map<int, std::string> byNumber;
    std::string service;
    collectByNumber(TracedNode(Node(list), trace), "n", byNumber, service, service);
    EXPECT_THAT(byNumber,
                ElementsAre(testing::Pair(0, ""), testing::Pair(2, "B"), testing::Pair(3, "C")));
    EXPECT_THAT(only(trace.lines, "mismatch"),
                ElementsAre("mismatch at /0/IP: expected text, found type 7",
                            "mismatch at /1/usage/0: expected text, found type 6",
                            "mismatch at /2: expected object, found type 1",
                            "mismatch at /2: expected object, found type 1"));
}

} // namespace
