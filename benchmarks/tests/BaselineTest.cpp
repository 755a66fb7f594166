// The baseline alone. bench-queries compares its answers with the product's.

#include "Environment.h"
#include "baseline/SysConfReader.h"
#include "baseline/SysConfReaderImpl.h"
#include "generator/Deployment.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

constexpr const char* kNodes = R"({"nodeList": {
  "node-2": {"assignedToTenancy": "tenancy-0",
    "extAttr": {"hostType": "standby", "domain_node_type": "ACCESS_Backup"},
    "IPAddresses": [{"IP": "M2", "usage": ["maintenance"]}, {"IP": "S2", "usage": ["service"]}]},
  "node-1": {"assignedToTenancy": "tenancy-0",
    "extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master", "HOSTID": "H1"},
    "IPAddresses": [
      {"IP": "M1", "usage": ["Maintenance"]},
      {"IP": "127.0.0.1", "usage": ["service"]},
      {"IP": "I1", "usage": ["internal_service", "service2"]},
      {"IP": "N0", "usage": ["northbound"]}, {"IP": "N7", "usage": ["northbound7"]},
      {"IP": "T3", "usage": ["southbound3"]}, {"IP": "T12", "usage": ["southbound12"]}]}
}})";

class Baseline : public testing::Test {
protected:
    static baseline::SysConfReader& loaded() {
        const std::filesystem::path directory = support::testDirectory();
        generator::writeDeployment(directory, {2, generator::Layout::Indented, 1});
        std::ofstream(directory / generator::kNodeListFile) << kNodes;
        std::ofstream(directory / generator::kManagerNodeListFile) << kNodes;
        bench::enterDeployment(directory);
        return *baseline::SysConfReader::Instance();
    }
    baseline::SysConfReader& reader = loaded();
};

TEST_F(Baseline, OneAddressByTag_IsFound) {
    EXPECT_EQ(reader.getLocalMaintenanceIP(), "M1");
    EXPECT_EQ(reader.getLocalServiceIP(), "127.0.0.1");
    EXPECT_EQ(reader.getLocalService2IP(), "I1");
    EXPECT_EQ(reader.getLocalIPByUsage("SOUTHBOUND3"), "T3");
    EXPECT_EQ(reader.getLocalIPByUsage("south"), "");
}

TEST_F(Baseline, SlotLists_KeepTheirPositions) {
    EXPECT_EQ(reader.getLocalNorthIP(), "N0;;;;N7");
    EXPECT_EQ(reader.getLocalSouthIP(), ";;T3;;;;;;;;T12");
    std::map<std::string, std::string> usageIPs;
    reader.getLocalNodeIPs(usageIPs);
    EXPECT_EQ(usageIPs.size(), 1024U);
    EXPECT_EQ(usageIPs["southbound12"], "T12");
}

TEST_F(Baseline, AllNodes_AreInOrderOfTheirIds) {
    std::list<std::string> addresses;
    EXPECT_EQ(reader.getIPAddresses("assignedToTenancy", "tenancy", addresses), 0);
    EXPECT_EQ(addresses, (std::list<std::string>{"M1", "127.0.0.1", "I1", "N0", "N7", "T3", "T12",
                                                 "M2", "S2"}));
    std::map<std::string, std::set<std::string>> floatIPs;
    EXPECT_EQ(reader.getAllFloatIP({"service", "northbound7"}, floatIPs), 0);
    EXPECT_EQ(floatIPs, (std::map<std::string, std::set<std::string>>{
                            {"node-1", {"127.0.0.1", "N7"}}, {"node-2", {"S2"}}}));
    std::string source;
    reader.getSourceNodeId(source);
    EXPECT_EQ(source, "node-1");
}

TEST_F(Baseline, Load_FindsValuesAndRoles) {
    EXPECT_EQ(reader.getFloatNodeId(), "node-1");
    EXPECT_EQ(reader.getLocalHostTagName(), "H1");
    EXPECT_EQ(reader.getLocalPort(), 31000);
    EXPECT_EQ(reader.getDBUserName("alarms", 1), "alarms_rw");
    EXPECT_EQ(reader.getDBAccessPort("absent", 0), -1);
    const baseline::SysConfReaderImpl& roles = *baseline::SysConfReaderImpl::Instance();
    EXPECT_EQ(roles.GetMasterInternalServiceIP(), "I1");
    EXPECT_EQ(roles.GetStandbyInternalServiceIP(), "M2");
    EXPECT_EQ(roles.GetProductName(), "tenancy-0");
}

} // namespace
