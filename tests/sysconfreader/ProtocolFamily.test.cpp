// SPDX-License-Identifier: Apache-2.0
#include "OwnNode.h"

#include <gtest/gtest.h>

namespace {

using Quarncommon::SysConfReader;

TEST(AppRoot, EachValue_IsReadOnEachCall) {
    const support::Deployment files;
    SysConfReader& reader = *SysConfReader::Instance();
    for (const char* value : {"/opt/one", "/opt/two/", "relative", "", "//", "with space"}) {
        support::setEnvironment("APP_ROOT", value);
        EXPECT_EQ(reader.GetAppRoot(), value);
    }
    support::setEnvironment("APP_ROOT", nullptr);
    EXPECT_EQ(reader.GetAppRoot(), "");
}

struct FamilyRow {
    const char* name;
    std::string addresses;
    int expected;
};

TEST(ProtocolFamilies, EachSetOfSouthboundAddresses_HasItsFamily) {
    const FamilyRow rows[] = {
        {"IPv4", entries("10.0.0.1=southbound"), 0},
        {"IPv6", entries("fe80::1=southbound"), 1},
        {"IPv4, IPv6", entries("10.0.0.1=southbound,fe80::1=southbound2"), 2},
        {"IPv6, IPv4", entries("fe80::1=southbound,10.0.0.1=southbound2"), 2},
        {"both IPv4", entries("10.0.0.1=southbound,10.0.0.2=southbound2"), 0},
        {"both IPv6", entries("fe80::1=southbound,fe80::2=southbound2"), 1},
        {"IPv4 in IPv6 notation", entries("::ffff:10.0.0.1=southbound"), 1},
        {"IPv4 in IPv6 notation, IPv4",
         entries("::ffff:10.0.0.1=southbound,10.0.0.1=southbound1024"), 2},
        {"IPv6, host name", entries("fe80::1=southbound,host=southbound2"), 1},
        {"host name", entries("host=southbound"), 0},
        {"IPv4, host name", entries("10.0.0.1=southbound,host=southbound2"), 0},
        {"empty slots only", entries("=southbound"), 0},
        {"services of both", entries("10.0.0.1=service,fe80::1=service2"), 2},
        {"services, IPv6 first", entries("fe80::1=service,host=service2"), 1},
        {"no address at all", "", 0},
    };
    OwnNode node;
    node.files.appConfig(R"({"processes":{"p1":{"nodeId":"n1"}}})");
    for (const FamilyRow& row : rows) {
        node.addresses(row.addresses);
        EXPECT_EQ(node.reader().getPFType(), row.expected) << row.name;
    }
}

TEST(ProtocolFamilies, NoList_MaintenanceAddressDecides) {
    OwnNode node;
    EXPECT_EQ(node.reader().getPFType(), 0);
    node.files.appConfig(R"({"processes":{"p1":{"IR":{"ip":"fe80::1"}}}})");
    node.reader().Reload();
    EXPECT_EQ(node.reader().getPFType(), 1);
}

TEST(ProtocolFamilies, FirstCallOfTheProcess_Answers) {
    OwnNode node;
    node.addresses(entries("10.0.0.1=southbound,fe80::1=southbound2"));
    EXPECT_EQ(SysConfReader::Instance()->getPFType(), 2);
    SysConfReader::Destory();
    node.addresses(entries("fe80::1=southbound2"));
    EXPECT_EQ(SysConfReader::Instance()->getPFType(), 1);
}

} // namespace
