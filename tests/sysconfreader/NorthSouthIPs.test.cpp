// SPDX-License-Identifier: Apache-2.0
#include "OwnNode.h"
#include "support/HostAddresses.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Quarncommon::SysConfReader;

struct ListRow {
    const char* name;
    std::string addresses;
    std::string expected;
};

TEST(LocalNorthIP, EachNodeList_HasItsSlots) {
    const ListRow rows[] = {
        {"0", entries("A=northbound"), "A;;;;"},
        {"0, 2", entries("A=northbound,B=northbound2"), "A;B;;;"},
        {"3", entries("K=northbound3"), ";;K;;"},
        {"4", entries("D=northbound4"), ";;;D;"},
        {"1", entries("X=northbound1"), ";;;;X"},
        {"0, 1", entries("A=northbound,X=northbound1"), "A;;;;X"},
        {"0, 5, 7", entries("A=northbound,E=northbound5,G=northbound7"), "A;;;;E;G"},
        {"all fixed slots", entries("D=northbound4,C=northbound3,B=northbound2,A=northbound"),
         "A;B;C;D;"},
        {"negative and great numbers ascend",
         entries("Z=northbound1000000,X=northbound1,N=northbound-7"), ";;;;N;X;Z"},
        {"further numbers without address are kept",
         entries("=northbound5,F=northbound6,=northbound7"), ";;;;;F;"},
        {"two further numbers without address", entries("=northbound5,=northbound6"), ";;;;;"},
        {"least and greatest number",
         entries("Z=northbound2147483647,X=northbound1,L=northbound-2147483648"), ";;;;L;X;Z"},
        {"other spelling of a number", entries("B=northbound02"), ";B;;;"},
        {"address with a separator", entries("1;2=northbound2"), ";1;2;;;"},
        {"one further number without address", entries("=northbound5"), ";;;;"},
        {"first address of a number", entries("A=northbound,B=northbound"), "A;;;;"},
        {"first address of a number though empty", entries("=northbound,B=northbound"), ";;;;"},
        {"capitals", entries("A=NORTHBOUND,B=Northbound2"), "A;B;;;"},
        {"tag that contains it", entries("A=my-northbound"), "A;;;;"},
        {"service in addition", entries("S=service,A=northbound,T=service2"), "A;;;;"},
        {"northbound tag without IP", R"({"usage":["northbound"]},)" + entries("S=service"),
         ";;;;"},
        {"service", entries("S=service"), "S"},
        {"service, service2", entries("S=service,T=service2"), "S;T"},
        {"last service address", entries("S=service,S2=service"), "S2"},
        {"service2 alone", entries("T=service2"), "M"},
        {"empty service address", entries("=service,T=service2"), "M"},
        {"neither", entries("A=southbound"), "M"},
        {"no entries", "", "M"},
        {"error before any", "7," + entries("A=northbound"), "M"},
        {"error part-way", entries("A=northbound") + ",7," + entries("B=northbound2"), "A;;;;"},
        {"error after service addresses", entries("S=service,T=service2") + ",7", "S;T"},
    };
    OwnNode node;
    for (const ListRow& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(node.reader().getLocalNorthIP(), row.expected) << row.name;
    }
}

TEST(LocalSouthIP, EachNodeList_HasItsSlots) {
    const ListRow rows[] = {
        {"southbound", entries("A=southbound"), "A;;;;;;;;;"},
        {"first and third", entries("A=southbound,K=southbound3"), "A;;K;;;;;;;"},
        {"tenth and twelfth", entries("A=southbound,J=southbound10,L=southbound12"),
         "A;;;;;;;;;J;L"},
        {"tenth", entries("J=southbound10"), ";;;;;;;;;J"},
        {"eleventh", entries("K=southbound11"), ";;;;;;;;;;K"},
        {"1024 only", entries("Z=southbound1024"), ";;;;;;;;;;Z"},
        {"all ten",
         entries("1=southbound,2=southbound2,3=southbound3,4=southbound4,5=southbound5,6="
                 "southbound6,7=southbound7,8=southbound8,9=southbound9,10=southbound10"),
         "1;2;3;4;5;6;7;8;9;10"},
        {"further slots ascend by number, empty ones left out",
         entries("L=southbound100,=southbound12,K=southbound11"), ";;;;;;;;;;K;L"},
        {"1025", entries("Z=southbound1025"), "M"},
        {"1025 beside service", entries("Z=southbound1025,S=service"), "S"},
        {"southbound1", entries("X=southbound1"), "M"},
        {"southbound1 and service", entries("X=southbound1,S=service"), "S"},
        {"southbound1 and southbound", entries("X=southbound1,A=southbound"), "A;;;;;;;;;"},
        {"last address of a slot", entries("A=southbound,B=southbound"), "B;;;;;;;;;"},
        {"last address of a slot though empty", entries("A=southbound,=southbound"), ";;;;;;;;;"},
        {"capitals", entries("A=SOUTHBOUND,B=SouthBound2"), "A;B;;;;;;;;"},
        {"tag that contains it", entries("A=my-southbound"), "M"},
        {"service in addition", entries("S=service,A=southbound,T=service2"), "A;;;;;;;;;"},
        {"tag without IP", R"({"usage":["southbound"]},)" + entries("S=service"), ";;;;;;;;;"},
        {"further tag without IP", R"({"usage":["southbound11"]})", ";;;;;;;;;"},
        {"service, service2", entries("S=service,T=service2"), "S;T"},
        {"service", entries("S=service"), "S"},
        {"last service address", entries("S=service,S2=service"), "S2"},
        {"service2 alone", entries("T=service2"), "M"},
        {"empty service address", entries("=service,T=service2"), "M"},
        {"neither", entries("A=northbound"), "M"},
        {"no entries", "", "M"},
        {"other spellings of a number",
         entries("A=southbound02,B=southbound+2,C=southbound "
                 "2,D=southbound2x,E=southbound-2,F=southbound4294967298"),
         "M"},
        {"error part-way", entries("A=southbound") + ",7", "M"},
        {"error after service addresses", entries("A=southbound,S=service,T=service2") + ",7", "S"},
    };
    OwnNode node;
    for (const ListRow& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(node.reader().getLocalSouthIP(), row.expected) << row.name;
    }
}

TEST(LocalSouthIP, AddressesOfAll1024Slots_AreInTheAnswer) {
    OwnNode node;
    std::string all;
    std::string expected;
    for (int n = 1; n <= 1024; ++n) {
        const std::string tag = "southbound" + (n == 1 ? "" : std::to_string(n));
        all = entries("ip" + std::to_string(n) + "=" + tag) + (all.empty() ? "" : ",") + all;
        expected += (n == 1 ? "ip" : ";ip") + std::to_string(n);
    }
    node.addresses(all);
    EXPECT_EQ(node.reader().getLocalSouthIP(), expected);
}

TEST(NorthSouthIPs, ListThatDoesNotParse_AnswerTheMaintenanceAddress) {
    OwnNode node;
    EXPECT_EQ(node.reader().getLocalNorthIP(), "M") << "missing";
    EXPECT_EQ(node.reader().getLocalSouthIP(), "M") << "missing";
    for (const char* text : {"", "{", "{} x", R"({"nodeList":[]})", R"({"nodeList":{"n1":[]}})"}) {
        node.files.nodeList(text);
        EXPECT_EQ(node.reader().getLocalNorthIP(), "M") << text;
        EXPECT_EQ(node.reader().getLocalSouthIP(), "M") << text;
    }
}

TEST(NorthSouthIPs, NothingLoaded_FallBackToNothing) {
    const support::Deployment files;
    EXPECT_EQ(SysConfReader::Instance()->getLocalNorthIP(), "");
    EXPECT_EQ(SysConfReader::Instance()->getLocalSouthIP(), "");
}

TEST(NorthSouthIPs, MaintenanceAddress_IsTheOneOfTheLastLoadThatParsed) {
    OwnNode node;
    EXPECT_EQ(node.reader().getLocalNorthIP(), "M");
    std::filesystem::remove(node.files.appConfigPath());
    node.reader().Reload();
    EXPECT_EQ(node.reader().getLocalNorthIP(), "M");
    EXPECT_EQ(node.reader().getLocalSouthIP(), "M");
    node.files.appConfig(R"({"processes":{"p1":{"nodeId":"n1","IR":{"ip":"N"}}}})");
    node.reader().Reload();
    EXPECT_EQ(node.reader().getLocalNorthIP(), "N");
    EXPECT_EQ(node.reader().getLocalSouthIP(), "N");
}

TEST(NorthSouthIPs, LoadEndedByAWrongType_AnswersUseWhatItAssigned) {
    OwnNode node;
    node.files.nodeList(listOf(nodeWith("n1", entries("A=northbound")) + R"(,"n2":{})"));
    EXPECT_EQ(node.reader().getLocalNorthIP(), "A;;;;");
    // The load reads the address before the port of the wrong type, and the node id after it.
    node.files.appConfig(
        R"({"processes":{"p1":{"nodeId":"n2","IR":{"ip":"N"},"wss":{"port":"1"}}}})");
    node.reader().Reload();
    EXPECT_EQ(node.reader().getLocalNorthIP(), "A;;;;");
    node.addresses("");
    EXPECT_EQ(node.reader().getLocalNorthIP(), "N");
    EXPECT_EQ(node.reader().getLocalSouthIP(), "N");
}

TEST(NorthSouthIPs, StandbyNode_BothAnswerForTheSourceNode) {
    support::setHostAddresses({"10.0.0.7"});
    OwnNode node;
    node.standby(entries("own=northbound|southbound"),
                 entries("10.0.0.7=service,source=northbound|southbound"));
    EXPECT_EQ(node.reader().getLocalNorthIP(), "source;;;;");
    EXPECT_EQ(node.reader().getLocalSouthIP(), "source;;;;;;;;;");
}

} // namespace
