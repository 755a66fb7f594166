// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "support/Answers.h"
#include "support/FileCalls.h"
#include "support/LockFaults.h"
#include "support/LockedOpens.h"
#include "support/SampleTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <json/reader.h>
#include <memory>
#include <tuple>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::jsonText;
using support::LockedOpen;
using support::opensWithLocks;
using support::SampleDeployment;
using support::setEnvironment;

Json::Value parsed(const std::string& text) {
    Json::Value value;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &errors)) << errors;
    return value;
}

SysConfReaderImpl& freshRoles() {
    SysConfReaderImpl::Destory();
    return *SysConfReaderImpl::Instance();
}

TEST(RoleReader, GoodFiles_AnswerAllFourQueries) {
    SampleDeployment deployment;
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    EXPECT_EQ(roles.GetLocalInternalServiceIP(), "10.1.1.2");
    EXPECT_EQ(roles.GetMasterInternalServiceIP(), "20.1.1.1");
    EXPECT_EQ(roles.GetStandbyInternalServiceIP(), "20.1.2.1");
    EXPECT_EQ(roles.GetProductName(), "tenancy1");
}

TEST(RoleReader, NoFiles_AnswersNothing) {
    const Deployment deployment;
    SysConfReaderImpl::Instance();
    EXPECT_EQ(support::roleAnswers(), support::noRoleAnswers());
}

TEST(RoleReader, Twice_IsTheSameFromOneLoadAndAcquiresNoLock) {
    SampleDeployment deployment;
    const SysConfReaderImpl* roles = SysConfReaderImpl::Instance();
    ASSERT_NE(roles, nullptr);
    support::resetOpenCalls();
    support::resetLockCounts();
    EXPECT_EQ(SysConfReaderImpl::Instance(), roles);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    EXPECT_EQ(support::lockCounts().read + support::lockCounts().write, 0U);
}

TEST(RoleReader, Creation_ReadsEveryFileWithTheWriteLock) {
    const Deployment deployment;
    const auto opens = opensWithLocks([] { SysConfReaderImpl::Instance(); });
    EXPECT_THAT(opens, testing::ElementsAre(
                           LockedOpen("app.json", 1, 0), LockedOpen("nodelist.json", 1, 0),
                           LockedOpen("nodelist.json", 1, 0), LockedOpen("nodelists.json", 1, 0),
                           LockedOpen("nodelists.json", 1, 0)));
    EXPECT_EQ(support::locksHeldHere().write, 0U);
}

TEST(RoleReader, Reload_LoadsTheReaderFirstAndHoldsOneLockAtATime) {
    const Deployment deployment;
    SysConfReader::Instance();
    const auto opens = opensWithLocks([] { SysConfReaderImpl::Instance()->Reload(); });
    EXPECT_THAT(opens, testing::ElementsAre(
                           LockedOpen("app.json", 1, 0), LockedOpen("nodelist.json", 1, 0),
                           LockedOpen("app.json", 1, 0), LockedOpen("nodelist.json", 1, 0),
                           LockedOpen("nodelist.json", 1, 0), LockedOpen("nodelists.json", 1, 0),
                           LockedOpen("nodelists.json", 1, 0)));
    EXPECT_EQ(support::locksHeldHere().write, 0U);
}

TEST(RoleReader, Queries_CopyWithTheReadLockAndOpenNoFile) {
    SampleDeployment deployment;
    const SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    support::resetOpenCalls();
    support::resetLockCounts();
    roles.GetLocalInternalServiceIP();
    roles.GetMasterInternalServiceIP();
    roles.GetStandbyInternalServiceIP();
    roles.GetProductName();
    EXPECT_EQ(support::lockCounts().read, 4U);
    EXPECT_EQ(support::lockCounts().write, 0U);
    EXPECT_EQ(support::lockCounts().unlock, 4U);
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
}

TEST(RoleReader, LoadingSteps_TakeNoLock) {
    SampleDeployment deployment;
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    support::resetLockCounts();
    roles.Init_i();
    EXPECT_EQ(support::lockCounts().read + support::lockCounts().write, 0U);
}

TEST(RoleReader, DestoryOfNothing_DoesNothing) {
    SampleDeployment deployment;
    SysConfReaderImpl::Destory();
    SysConfReaderImpl::Destory();
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    EXPECT_EQ(support::lockCounts().write, support::lockCounts().unlock);
}

TEST(RoleReader, Destroyed_LoadsAgainAtTheNextUse) {
    SampleDeployment deployment;
    SysConfReaderImpl::Instance();
    std::filesystem::remove(deployment.appConfigPath());
    std::filesystem::remove(deployment.nodeListPath());
    std::filesystem::remove(deployment.managerNodeListPath());
    SysConfReaderImpl::Destory();
    EXPECT_EQ(support::roleAnswers(), support::noRoleAnswers());
    writeGeneration(deployment, 2);
    SysConfReaderImpl::Destory();
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
}

struct PathRow {
    const char* root;
    const char* nodeList;
    const char* managerNodeList;
};

TEST(RoleReader, AnyRoot_IsJoinedVerbatimAtEachCall) {
    const PathRow rows[] = {
        {nullptr, "/etc/sysconf/nodelist.json", "/etc/sysconf/nodelists.json"},
        {"", "/etc/sysconf/nodelist.json", "/etc/sysconf/nodelists.json"},
        {"/r", "/r/etc/sysconf/nodelist.json", "/r/etc/sysconf/nodelists.json"},
        {"/r/", "/r//etc/sysconf/nodelist.json", "/r//etc/sysconf/nodelists.json"},
        {"r", "r/etc/sysconf/nodelist.json", "r/etc/sysconf/nodelists.json"},
    };
    const Deployment deployment;
    const SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    for (const PathRow& row : rows) {
        SCOPED_TRACE(row.root != nullptr ? row.root : "unset");
        setEnvironment("APP_ROOT", row.root);
        setEnvironment("TOLM_ROOT", "/other");
        EXPECT_EQ(roles.GetNodeListFilePath(), row.nodeList);
        setEnvironment("APP_ROOT", "/other");
        setEnvironment("TOLM_ROOT", row.root);
        EXPECT_EQ(roles.GetManagerNodeListFilePath(), row.managerNodeList);
    }
}

TEST(RoleReader, RootsUnset_ReadsTheListsUnderEtc) {
    SampleDeployment deployment;
    setEnvironment("APP_ROOT", nullptr);
    setEnvironment("TOLM_ROOT", nullptr);
    support::redirectOpen("/etc/sysconf/nodelist.json", deployment.nodeListPath());
    support::redirectOpen("/etc/sysconf/nodelists.json", deployment.managerNodeListPath());
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
    EXPECT_EQ(support::openCount("/etc/sysconf/nodelist.json"), 2U);
    EXPECT_EQ(support::openCount("/etc/sysconf/nodelists.json"), 2U);
}

TEST(RoleReader, AppConfigVariableUnset_IsTheNodeWithTheEmptyId) {
    Deployment deployment;
    Json::Value nodes = support::sampleNodeList(1);
    nodes["nodeList"][""] = nodes["nodeList"]["node3"];
    deployment.appConfig(jsonText(support::sampleAppConfig(1)))
        .nodeList(jsonText(nodes))
        .managerNodeList(jsonText(support::sampleManagerNodeList(1)));
    setEnvironment("APP_CONF_FILE", nullptr);
    EXPECT_EQ(SysConfReaderImpl::Instance()->GetLocalInternalServiceIP(), "10.1.3.2");
    EXPECT_EQ(SysConfReaderImpl::Instance()->GetProductName(), "tenancy1");
}

TEST(RoleReader, InstanceIdUnset_ReadsTheMemberWithTheEmptyKey) {
    SampleDeployment deployment;
    Json::Value app = support::sampleAppConfig(1);
    app["processes"][""]["nodeId"] = "node3";
    deployment.appConfig(jsonText(app));
    setEnvironment("PROCESS_INSTANCE_ID", nullptr);
    EXPECT_EQ(SysConfReaderImpl::Instance()->GetLocalInternalServiceIP(), "10.1.3.2");
}

TEST(RoleReader, TenancyMissing_MatchesNodesWithoutTenancyOnly) {
    SampleDeployment deployment;
    Json::Value nodes = support::sampleNodeList(1);
    nodes["nodeList"]["node1"].removeMember("assignedToTenancy");
    deployment.nodeList(jsonText(nodes));
    EXPECT_EQ(freshRoles().GetProductName(), "");
    EXPECT_EQ(freshRoles().GetMasterInternalServiceIP(), "");
    EXPECT_EQ(freshRoles().GetStandbyInternalServiceIP(), "");
    for (const bool empty : {false, true}) {
        Json::Value manager = support::sampleManagerNodeList(1);
        manager["nodeList"]["m1"].removeMember("assignedToTenancy");
        if (empty) {
            manager["nodeList"]["m1"]["assignedToTenancy"] = "";
        }
        deployment.managerNodeList(jsonText(manager));
        EXPECT_EQ(freshRoles().GetMasterInternalServiceIP(), "20.1.1.1");
        EXPECT_EQ(freshRoles().GetStandbyInternalServiceIP(), "");
    }
}

TEST(RoleReader, Tenancy_IsComparedByteForByte) {
    Deployment deployment;
    for (const auto& [tenancy, address] :
         {std::pair("tenancy1", "20.1.1.1"), std::pair("Tenancy1", ""), std::pair("tenancy1 ", ""),
          std::pair("tenancy", ""), std::pair("tenancy11", ""), std::pair("", "")}) {
        SCOPED_TRACE(tenancy);
        writeGeneration(deployment, 1);
        Json::Value manager = support::sampleManagerNodeList(1);
        manager["nodeList"]["m1"]["assignedToTenancy"] = tenancy;
        deployment.managerNodeList(jsonText(manager));
        EXPECT_EQ(freshRoles().GetMasterInternalServiceIP(), address);
    }
}

struct RoleRow {
    const char* hostType;   // as JSON, null: missing
    const char* domainType; // as JSON, null: missing
    bool master;
    bool standby;
};

const RoleRow kRoleRows[] = {
    {R"("master")", R"("ACCESS_Master")", true, false},
    {R"("standby")", R"("ACCESS_Backup")", false, true},
    {R"("master")", R"("ACCESS_Backup")", false, false},
    {R"("standby")", R"("ACCESS_Master")", false, false},
    {R"("master")", R"("")", false, false},
    {R"("master")", nullptr, false, false},
    {R"("standby")", R"("x")", false, false},
    {R"("standby")", nullptr, false, false},
    {nullptr, R"("ACCESS_Master")", false, false},
    {nullptr, R"("ACCESS_Backup")", false, false},
    {nullptr, nullptr, false, false},
    {"null", "null", false, false},
    {R"("Master")", R"("ACCESS_Master")", false, false},
    {R"("MASTER")", R"("ACCESS_Master")", false, false},
    {R"("Standby")", R"("ACCESS_Backup")", false, false},
    {R"("master")", R"("access_master")", false, false},
    {R"("master")", R"("ACCESS_MASTER")", false, false},
    {R"("standby")", R"("ACCESS_backup")", false, false},
    {R"("master ")", R"("ACCESS_Master")", false, false},
    {R"("master")", R"(" ACCESS_Master")", false, false},
    {"5", R"("ACCESS_Master")", false, false},
};

TEST(RoleReader, HostTypeAndDomainType_DecideTheRoleTogether) {
    SampleDeployment deployment;
    for (const RoleRow& row : kRoleRows) {
        SCOPED_TRACE(testing::Message()
                     << (row.hostType != nullptr ? row.hostType : "missing") << ", "
                     << (row.domainType != nullptr ? row.domainType : "missing"));
        Json::Value manager;
        Json::Value& node = manager["nodeList"]["n"];
        node = support::sampleManagerNodeList(1)["nodeList"]["m1"];
        node["extAttr"].clear();
        if (row.hostType != nullptr) {
            node["extAttr"]["hostType"] = parsed(row.hostType);
        }
        if (row.domainType != nullptr) {
            node["extAttr"]["domain_node_type"] = parsed(row.domainType);
        }
        deployment.managerNodeList(jsonText(manager));
        SysConfReaderImpl& roles = freshRoles();
        EXPECT_EQ(roles.GetMasterInternalServiceIP(), row.master ? "20.1.1.1" : "");
        EXPECT_EQ(roles.GetStandbyInternalServiceIP(), row.standby ? "20.1.1.1" : "");
    }
}

TEST(RoleReader, SeveralCandidates_GreatestIdByBytesWins) {
    SampleDeployment deployment;
    const Json::Value sample = support::sampleManagerNodeList(1);
    for (const auto& [first, second, winner] :
         {std::tuple("node1", "node2", "node2"), std::tuple("node2", "node1", "node2"),
          std::tuple("node10", "node9", "node9"), std::tuple("a", "Z", "a")}) {
        SCOPED_TRACE(testing::Message() << first << " and " << second);
        Json::Value manager;
        for (const char* id : {first, second}) {
            for (const char* role : {"m1", "m2"}) {
                Json::Value& node = manager["nodeList"][std::string(id) + role];
                node = sample["nodeList"][role];
                node["IPAddresses"][0]["IP"] = std::string(id) + role;
            }
        }
        deployment.managerNodeList(jsonText(manager));
        SysConfReaderImpl& roles = freshRoles();
        EXPECT_EQ(roles.GetMasterInternalServiceIP(), std::string(winner) + "m1");
        EXPECT_EQ(roles.GetStandbyInternalServiceIP(), std::string(winner) + "m2");
    }
}

TEST(RoleReader, OtherTenancies_AreIgnored) {
    SampleDeployment deployment;
    Json::Value manager = support::sampleManagerNodeList(1);
    for (const char* role : {"m1", "m2"}) {
        Json::Value& other = manager["nodeList"]["z" + std::string(role)];
        other = manager["nodeList"][role];
        other["assignedToTenancy"] = "tenancy2";
        other["IPAddresses"][0]["IP"] = "wrong";
    }
    deployment.managerNodeList(jsonText(manager));
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
}

struct InternalIpRow {
    const char* name;
    const char* addresses;
    const char* answer; // null: throws
};

const InternalIpRow kInternalIpRows[] = {
    {"null", "null", ""},
    {"no entry", "[]", ""},
    {"internal service", R"([{"IP": "A", "usage": ["internal_service"]}])", "A"},
    {"mixed case", R"([{"IP": "A", "usage": ["Internal_Service"]}])", "A"},
    {"upper case", R"([{"IP": "A", "usage": ["INTERNAL_SERVICE"]}])", "A"},
    {"plain text usage", R"([{"IP": "A", "usage": "internal_service"}])", ""},
    {"no usage", R"([{"IP": "A"}])", ""},
    {"null usage", R"([{"IP": "A", "usage": null}])", ""},
    {"empty usage", R"([{"IP": "A", "usage": []}])", ""},
    {"tag among others", R"([{"IP": "A", "usage": ["x", "internal_service"]}])", "A"},
    {"longer tag", R"([{"IP": "A", "usage": ["internal_service2"]}])", ""},
    {"shorter tag", R"([{"IP": "A", "usage": ["internal_servic"]}])", ""},
    {"service is another tag", R"([{"IP": "A", "usage": ["service"]}])", ""},
    {"first of two internal services",
     R"([{"IP": "A", "usage": ["internal_service"]}, {"IP": "B", "usage": ["internal_service"]}])",
     "A"},
    {"maintenance alone", R"([{"IP": "A", "usage": ["maintenance"]}])", "A"},
    {"maintenance in mixed case", R"([{"IP": "A", "usage": ["MainTenance"]}])", "A"},
    {"last of two maintenances",
     R"([{"IP": "A", "usage": ["maintenance"]}, {"IP": "B", "usage": ["maintenance"]}])", "B"},
    {"internal service after maintenance",
     R"([{"IP": "A", "usage": ["maintenance"]}, {"IP": "B", "usage": ["internal_service"]}])", "B"},
    {"internal service before maintenance",
     R"([{"IP": "A", "usage": ["internal_service"]}, {"IP": "B", "usage": ["maintenance"]}])", "A"},
    {"both tags in one entry", R"([{"IP": "A", "usage": ["maintenance", "internal_service"]}])",
     "A"},
    {"internal service without IP hides maintenance",
     R"([{"IP": "A", "usage": ["maintenance"]}, {"usage": ["internal_service"]}])", ""},
    {"last maintenance without IP",
     R"([{"IP": "A", "usage": ["maintenance"]}, {"usage": ["maintenance"]}])", ""},
    {"null entries", R"([null, {"IP": "A", "usage": ["internal_service"]}])", "A"},
    {"number as IP", R"([{"IP": 7, "usage": ["internal_service"]}])", "7"},
    {"number as tag", R"([{"IP": "A", "usage": [7, "internal_service"]}])", "A"},
    {"wrong type after the answer", R"([{"IP": "A", "usage": ["internal_service"]}, "text"])", "A"},
    {"wrong type before the answer", R"(["text", {"IP": "A", "usage": ["internal_service"]}])",
     nullptr},
    {"object as IP", R"([{"IP": {}, "usage": ["internal_service"]}])", nullptr},
    {"object as maintenance IP", R"([{"IP": {}, "usage": ["maintenance"]}])", nullptr},
    {"object as tag", R"([{"IP": "A", "usage": [{}]}])", nullptr},
    {"object as usage", R"([{"IP": "A", "usage": {"a": "internal_service"}}])", nullptr},
    {"object as list", R"({"a": {"IP": "A", "usage": ["internal_service"]}})", nullptr},
    {"array as entry", R"([[]])", nullptr},
    {"text as list", R"("A")", ""},
};

TEST(InternalServiceIP, AnyAddressList_AnswersByItsTags) {
    const Deployment deployment;
    const SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    for (const InternalIpRow& row : kInternalIpRows) {
        SCOPED_TRACE(row.name);
        const Json::Value addresses = parsed(row.addresses);
        if (row.answer != nullptr) {
            EXPECT_EQ(roles.GetInternalIp(addresses), row.answer);
        } else {
            EXPECT_THROW(roles.GetInternalIp(addresses), Json::Exception);
        }
    }
}

TEST(InternalServiceIP, SameRule_HoldsForLocalMasterAndStandby) {
    Deployment deployment;
    for (const InternalIpRow& row : kInternalIpRows) {
        SCOPED_TRACE(row.name);
        writeGeneration(deployment, 1);
        Json::Value nodes = support::sampleNodeList(1);
        nodes["nodeList"]["node1"]["IPAddresses"] = parsed(row.addresses);
        Json::Value manager = support::sampleManagerNodeList(1);
        manager["nodeList"]["m1"]["IPAddresses"] = parsed(row.addresses);
        manager["nodeList"]["m2"]["IPAddresses"] = parsed(row.addresses);
        deployment.nodeList(jsonText(nodes)).managerNodeList(jsonText(manager));
        const std::string answer = row.answer != nullptr ? row.answer : "";
        SysConfReaderImpl& roles = freshRoles();
        EXPECT_EQ(roles.GetLocalInternalServiceIP(), answer);
        EXPECT_EQ(roles.GetMasterInternalServiceIP(), answer);
        EXPECT_EQ(roles.GetStandbyInternalServiceIP(), answer);
    }
}

} // namespace
