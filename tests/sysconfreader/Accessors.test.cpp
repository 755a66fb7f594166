#include "OwnNode.h"
#include "SysConfReaderImpl.h"
#include "support/HostAddresses.h"

#include <gtest/gtest.h>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;

TEST(Accessors, LoadedProcess_AnswersEachValue) {
    support::Deployment files;
    files.appConfig(R"({"processes":{"p1":{"nodeId":"n1","IR":{"ip":"10.0.0.1"},
        "local":{"ip":"10.0.0.2","port":1001},"wss":{"ip":"10.0.0.3","port":1002},
        "CORBA":{"port":1003},"CORBA_SSL":{"port":1004}},"p2":{"local":{"port":9}}}})");
    files.nodeList(R"({"nodeList":{"n1":{"extAttr":{"HOSTID":"host 1"}}}})");
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.getLocalPort(), 1001);
    EXPECT_EQ(reader.getCorbaPort(), 1003);
    EXPECT_EQ(reader.getCorbaSSLPort(), 1004);
    EXPECT_EQ(reader.GetWssPort(), 1002);
    EXPECT_EQ(reader.GetWssIPAddress(), "10.0.0.3");
    EXPECT_EQ(reader.getLocalhostIPAddress(), "10.0.0.2");
    EXPECT_EQ(reader.getMaintenanceIPAddress(), "10.0.0.1");
    EXPECT_EQ(reader.getLocalHostTagName(), "host 1");
    EXPECT_EQ(reader.getFloatNodeId(), "n1");
}

void expectNothing(SysConfReader& reader, const char* when) {
    EXPECT_EQ(reader.getLocalPort(), 0) << when;
    EXPECT_EQ(reader.getCorbaPort(), 0) << when;
    EXPECT_EQ(reader.getCorbaSSLPort(), 0) << when;
    EXPECT_EQ(reader.GetWssPort(), 0) << when;
    EXPECT_EQ(reader.GetWssIPAddress(), "") << when;
    EXPECT_EQ(reader.getLocalhostIPAddress(), "") << when;
    EXPECT_EQ(reader.getMaintenanceIPAddress(), "") << when;
    EXPECT_EQ(reader.getLocalHostTagName(), "") << when;
    EXPECT_EQ(reader.getFloatNodeId(), "") << when;
    EXPECT_EQ(reader.GetMasterInternalServiceIP(), "") << when;
    EXPECT_EQ(reader.GetStandbyInternalServiceIP(), "") << when;
}

TEST(Accessors, NoFiles_AnswerZeroAndEmpty) {
    const support::Deployment files;
    expectNothing(*SysConfReader::Instance(), "no files");
}

TEST(Accessors, ProcessWithoutKeys_AnswersZeroAndEmpty) {
    support::Deployment files;
    for (const char* config :
         {R"({"processes":{"p1":{}}})", R"({"processes":{"p1":null}})", R"({"processes":{}})", "{}",
          R"({"processes":{"p1":{"local":null,"wss":{"port":null,"ip":null}}}})"}) {
        files.appConfig(config);
        SysConfReader::Instance()->Reload();
        expectNothing(*SysConfReader::Instance(), config);
    }
}

TEST(Accessors, Reload_AnswersTheNewValues) {
    support::Deployment files;
    files.appConfig(R"({"processes":{"p1":{"local":{"port":1,"ip":"a"}}}})");
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.getLocalPort(), 1);
    files.appConfig(R"({"processes":{"p1":{"local":{"port":2,"ip":"b"}}}})");
    EXPECT_EQ(reader.getLocalPort(), 1);
    EXPECT_EQ(reader.getLocalhostIPAddress(), "a");
    reader.Reload();
    EXPECT_EQ(reader.getLocalPort(), 2);
    EXPECT_EQ(reader.getLocalhostIPAddress(), "b");
}

TEST(Accessors, NodesOfEachHostType_FloatNodeIsTheSourceOnlyOfAStandbyNode) {
    support::setHostAddresses({"127.0.0.1", "10.0.0.7"});
    support::Deployment files;
    files.appConfig(R"({"processes":{"p1":{"nodeId":"own"}}})");
    const std::pair<const char*, const char*> rows[] = {
        {"standby", "source"}, {"Standby", "own"},  {"STANDBY", "own"},
        {"master", "own"},     {"standby ", "own"}, {"", "own"},
    };
    for (const auto& [hostType, expected] : rows) {
        files.nodeList(R"({"nodeList":{"own":{"extAttr":{"hostType":")" + std::string(hostType) +
                       R"(","HOSTID":"tag own"}},"source":{"extAttr":{"hostType":"master",
               "HOSTID":"tag source"},"IPAddresses":[{"IP":"10.0.0.7","usage":["service"]}]}}})");
        SysConfReader::Instance()->Reload();
        EXPECT_EQ(SysConfReader::Instance()->getFloatNodeId(), expected) << hostType;
        EXPECT_EQ(SysConfReader::Instance()->getLocalHostTagName(), "tag " + std::string(expected))
            << hostType;
    }
}

TEST(Accessors, RoleAnswers_AreThoseOfTheRoleReader) {
    support::Deployment files;
    files.appConfig(R"({"processes":{"p1":{"nodeId":"n1"}}})");
    const auto list = [](const std::string& master, const std::string& standby) {
        return R"({"nodeList":{
            "a":{"extAttr":{"hostType":"master","domain_node_type":"ACCESS_Master"},
                 "IPAddresses":[{"IP":")" +
               master + R"(","usage":["internal_service"]}]},
            "b":{"extAttr":{"hostType":"standby","domain_node_type":"ACCESS_Backup"},
                 "IPAddresses":[{"IP":")" +
               standby + R"(","usage":["internal_service"]}]}}})";
    };
    files.nodeList("{}").managerNodeList(list("10.1.0.1", "10.1.0.2"));
    const SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.GetMasterInternalServiceIP(), "10.1.0.1");
    EXPECT_EQ(reader.GetStandbyInternalServiceIP(), "10.1.0.2");
    files.managerNodeList(list("10.2.0.1", "10.2.0.2"));
    EXPECT_EQ(reader.GetMasterInternalServiceIP(), "10.1.0.1");
    SysConfReaderImpl::Instance()->Reload();
    EXPECT_EQ(reader.GetMasterInternalServiceIP(), "10.2.0.1");
    EXPECT_EQ(reader.GetStandbyInternalServiceIP(), "10.2.0.2");
}

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
        {"IPv4", addressEntries({{"10.0.0.1", "southbound"}}), 0},
        {"IPv6", addressEntries({{"fe80::1", "southbound"}}), 1},
        {"IPv4, IPv6", addressEntries({{"10.0.0.1", "southbound"}, {"fe80::1", "southbound2"}}), 2},
        {"IPv6, IPv4", addressEntries({{"fe80::1", "southbound"}, {"10.0.0.1", "southbound2"}}), 2},
        {"both IPv4", addressEntries({{"10.0.0.1", "southbound"}, {"10.0.0.2", "southbound2"}}), 0},
        {"both IPv6", addressEntries({{"fe80::1", "southbound"}, {"fe80::2", "southbound2"}}), 1},
        {"IPv4 in IPv6 notation", addressEntries({{"::ffff:10.0.0.1", "southbound"}}), 1},
        {"IPv4 in IPv6 notation, IPv4",
         addressEntries({{"::ffff:10.0.0.1", "southbound"}, {"10.0.0.1", "southbound1024"}}), 2},
        {"IPv6, host name", addressEntries({{"fe80::1", "southbound"}, {"host", "southbound2"}}),
         1},
        {"host name", addressEntries({{"host", "southbound"}}), 0},
        {"IPv4, host name", addressEntries({{"10.0.0.1", "southbound"}, {"host", "southbound2"}}),
         0},
        {"empty slots only", addressEntries({{"", "southbound"}}), 0},
        {"services of both", addressEntries({{"10.0.0.1", "service"}, {"fe80::1", "service2"}}), 2},
        {"services, IPv6 first", addressEntries({{"fe80::1", "service"}, {"host", "service2"}}), 1},
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
    node.addresses(addressEntries({{"10.0.0.1", "southbound"}, {"fe80::1", "southbound2"}}));
    EXPECT_EQ(SysConfReader::Instance()->getPFType(), 2);
    SysConfReader::Destory();
    node.addresses(addressEntries({{"fe80::1", "southbound2"}}));
    EXPECT_EQ(SysConfReader::Instance()->getPFType(), 1);
}

} // namespace
