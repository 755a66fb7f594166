// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "support/Answers.h"
#include "support/FileCalls.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using support::Answers;
using support::Deployment;
using support::jsonText;
using support::SampleDeployment;

SysConfReaderImpl& loadGeneration(Deployment& deployment, int generation) {
    SysConfReaderImpl::Destory();
    writeGeneration(deployment, generation);
    return *SysConfReaderImpl::Instance();
}

Json::Value array() {
    Json::Value value;
    value.append("a");
    return value;
}

TEST(RoleReload, NewFiles_ReplaceEveryAnswerInPlace) {
    Deployment deployment;
    SysConfReaderImpl& roles = loadGeneration(deployment, 1);
    writeGeneration(deployment, 2);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
    roles.Reload();
    EXPECT_EQ(SysConfReaderImpl::Instance(), &roles);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
}

TEST(RoleReload, Reader_IsReloadedToo) {
    SampleDeployment deployment;
    SysConfReader::Instance();
    writeGeneration(deployment, 2);
    SysConfReaderImpl::Instance()->Reload();
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

TEST(RoleReload, ReaderAbsent_IsCreated) {
    Deployment deployment;
    loadGeneration(deployment, 1);
    support::resetOpenCalls();
    SysConfReaderImpl::Instance()->Reload();
    // The creation of the reader, its reload, and the reload of the role reader.
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 3U);
    support::resetOpenCalls();
    SysConfReader::Instance();
    EXPECT_EQ(support::openCount(deployment.appConfigPath()), 0U);
}

/// After a reload over generation 1. "1" and "2" are the sample answers of those generations.
struct StepRow {
    const char* name;
    void (*change)(Json::Value& app, Json::Value& nodes, Json::Value& manager);
    const char* local;
    const char* master;
    const char* standby;
    const char* product;
};

const StepRow kRows[] = {
    {"nothing", [](auto&, auto&, auto&) {}, "2", "2", "2", "2"},
    // Without the own node id, later steps use the old one.
    {"processes an array", [](auto& app, auto&, auto&) { app["processes"] = array(); }, "10.2.1.2",
     "2", "2", "2"},
    {"own process a text", [](auto& app, auto&, auto&) { app["processes"]["p1"] = "text"; },
     "10.2.1.2", "2", "2", "2"},
    {"nodeId an object",
     [](auto& app, auto&, auto&) { app["processes"]["p1"]["nodeId"] = Json::objectValue; },
     "10.2.1.2", "2", "2", "2"},
    {"nodeId missing",
     [](auto& app, auto&, auto&) { app["processes"]["p1"].removeMember("nodeId"); }, "", "", "",
     ""},
    {"own process missing", [](auto& app, auto&, auto&) { app["processes"].removeMember("p1"); },
     "", "", "", ""},
    {"nodeId unknown", [](auto& app, auto&, auto&) { app["processes"]["p1"]["nodeId"] = "x"; }, "",
     "", "", ""},
    // Without the own address. The next step reads the list again.
    {"nodeList an array", [](auto&, auto& nodes, auto&) { nodes["nodeList"] = array(); }, "1", "",
     "", "1"},
    {"own node an array", [](auto&, auto& nodes, auto&) { nodes["nodeList"]["node2"] = array(); },
     "1", "", "", "1"},
    {"addresses an object",
     [](auto&, auto& nodes, auto&) {
         nodes["nodeList"]["node2"]["IPAddresses"] = Json::objectValue;
         nodes["nodeList"]["node2"]["IPAddresses"]["a"] = 1;
     },
     "1", "2", "2", "2"},
    {"addresses missing",
     [](auto&, auto& nodes, auto&) { nodes["nodeList"]["node2"].removeMember("IPAddresses"); }, "",
     "2", "2", "2"},
    // Without the tenancy, the nodes of the old one are searched.
    {"tenancy an object",
     [](auto&, auto& nodes, auto&) {
         nodes["nodeList"]["node2"]["assignedToTenancy"] = Json::objectValue;
     },
     "2", "", "", "1"},
    {"tenancy missing",
     [](auto&, auto& nodes, auto&) {
         nodes["nodeList"]["node2"].removeMember("assignedToTenancy");
     },
     "2", "", "", ""},
    {"tenancy null",
     [](auto&, auto& nodes, auto&) {
         nodes["nodeList"]["node2"]["assignedToTenancy"] = Json::Value();
     },
     "2", "", "", ""},
    // Without a master or standby, the old id remains, and its address is read again.
    {"manager list an array", [](auto&, auto&, auto& manager) { manager = array(); }, "2", "1", "1",
     "2"},
    {"manager's nodeList an array",
     [](auto&, auto&, auto& manager) { manager["nodeList"] = array(); }, "2", "1", "1", "2"},
    {"manager's nodeList missing", [](auto&, auto&, auto& manager) { manager.clear(); }, "2", "",
     "", "2"},
    {"master's addresses texts",
     [](auto&, auto&, auto& manager) { manager["nodeList"]["m3"]["IPAddresses"] = array(); }, "2",
     "1", "1", "2"},
    {"standby's addresses texts",
     [](auto&, auto&, auto& manager) { manager["nodeList"]["m4"]["IPAddresses"] = array(); }, "2",
     "2", "1", "2"},
};

std::string expanded(const char* answer, std::size_t position) {
    if (*answer == '1' || *answer == '2') {
        if (answer[1] == '\0') {
            return support::sampleRoleAnswers(*answer - '0')[position].second;
        }
    }
    return answer;
}

TEST(RoleReload, AnyStepWithoutItsValue_KeepsOrEmptiesItsOwnAnswer) {
    Deployment deployment;
    for (const StepRow& row : kRows) {
        SCOPED_TRACE(row.name);
        SysConfReaderImpl& roles = loadGeneration(deployment, 1);
        Json::Value app = support::sampleAppConfig(2);
        Json::Value nodes = support::sampleNodeList(2);
        Json::Value manager = support::sampleManagerNodeList(2);
        // Master and standby have other ids, so that an old id finds nothing.
        manager["nodeList"]["m3"] = manager["nodeList"]["m1"];
        manager["nodeList"]["m4"] = manager["nodeList"]["m2"];
        manager["nodeList"].removeMember("m1");
        manager["nodeList"].removeMember("m2");
        row.change(app, nodes, manager);
        deployment.appConfig(jsonText(app))
            .nodeList(jsonText(nodes))
            .managerNodeList(jsonText(manager));
        roles.Reload();
        const Answers expected = {{"localIP", expanded(row.local, 0)},
                                  {"masterIP", expanded(row.master, 1)},
                                  {"standbyIP", expanded(row.standby, 2)},
                                  {"productName", expanded(row.product, 3)}};
        EXPECT_EQ(support::roleAnswers(), expected);
    }
}

TEST(RoleReload, FileNotParsable_KeepsTheAnswersThatComeFromIt) {
    Deployment deployment;
    const auto reloadWith = [&](const std::filesystem::path& broken) {
        SysConfReaderImpl& roles = loadGeneration(deployment, 1);
        writeGeneration(deployment, 2);
        support::writeFile(broken, "{");
        roles.Reload();
        return support::roleAnswers();
    };
    Answers expected = support::sampleRoleAnswers(2);
    expected[0].second = "10.2.1.2"; // of "node1" in the new list
    EXPECT_EQ(reloadWith(deployment.appConfigPath()), expected);

    // The new manager list has no node of the old tenancy, so the ids remain.
    EXPECT_EQ(reloadWith(deployment.nodeListPath()), (Answers{{"localIP", "10.1.1.2"},
                                                              {"masterIP", "20.2.1.1"},
                                                              {"standbyIP", "20.2.2.1"},
                                                              {"productName", "tenancy1"}}));

    expected = support::sampleRoleAnswers(2);
    expected[1].second = "20.1.1.1";
    expected[2].second = "20.1.2.1";
    EXPECT_EQ(reloadWith(deployment.managerNodeListPath()), expected);
}

TEST(RoleReload, NoMasterLeft_KeepsItsIdAndReadsItsAddress) {
    Deployment deployment;
    SysConfReaderImpl& roles = loadGeneration(deployment, 1);
    Json::Value manager = support::sampleManagerNodeList(1);
    manager["nodeList"]["m1"]["extAttr"]["hostType"] = "former";
    manager["nodeList"]["m1"]["IPAddresses"][0]["IP"] = "20.1.1.9";
    deployment.managerNodeList(jsonText(manager));
    roles.Reload();
    EXPECT_EQ(roles.GetMasterInternalServiceIP(), "20.1.1.9");
    EXPECT_EQ(roles.GetStandbyInternalServiceIP(), "20.1.2.1");

    manager["nodeList"].removeMember("m1");
    deployment.managerNodeList(jsonText(manager));
    roles.Reload();
    EXPECT_EQ(roles.GetMasterInternalServiceIP(), "");

    manager["nodeList"]["m1"]["IPAddresses"] =
        support::sampleManagerNodeList(3)["nodeList"]["m1"]["IPAddresses"];
    deployment.managerNodeList(jsonText(manager));
    roles.Reload();
    EXPECT_EQ(roles.GetMasterInternalServiceIP(), "20.3.1.1");
}

TEST(RoleReload, NoStandbyLeft_KeepsItsIdAndReadsItsAddress) {
    Deployment deployment;
    SysConfReaderImpl& roles = loadGeneration(deployment, 1);
    Json::Value manager = support::sampleManagerNodeList(1);
    manager["nodeList"]["m2"]["assignedToTenancy"] = "another";
    manager["nodeList"]["m2"]["IPAddresses"][0]["IP"] = "20.1.2.9";
    deployment.managerNodeList(jsonText(manager));
    roles.Reload();
    EXPECT_EQ(roles.GetMasterInternalServiceIP(), "20.1.1.1");
    EXPECT_EQ(roles.GetStandbyInternalServiceIP(), "20.1.2.9");
}

TEST(RoleReload, DestoryInBetween_ForgetsTheIds) {
    Deployment deployment;
    loadGeneration(deployment, 1);
    Json::Value manager = support::sampleManagerNodeList(1);
    manager["nodeList"]["m1"]["extAttr"]["hostType"] = "former";
    deployment.managerNodeList(jsonText(manager));
    SysConfReaderImpl::Destory();
    EXPECT_EQ(SysConfReaderImpl::Instance()->GetMasterInternalServiceIP(), "");
}

TEST(RoleReload, WrongTypeBetweenTheRoles_KeepsTheRoleThatWasNotReached) {
    Deployment deployment;
    for (const char* member : {"assignedToTenancy", "extAttr"}) {
        SCOPED_TRACE(member);
        SysConfReaderImpl& roles = loadGeneration(deployment, 1);
        // In the order of the ids: a new master, a bad node, a new standby.
        Json::Value manager = support::sampleManagerNodeList(1);
        manager["nodeList"]["n1"] = manager["nodeList"]["m1"];
        manager["nodeList"]["n1"]["IPAddresses"][0]["IP"] = "new master";
        manager["nodeList"]["n2"] = manager["nodeList"]["m1"];
        manager["nodeList"]["n2"][member] = array();
        manager["nodeList"]["n3"] = manager["nodeList"]["m2"];
        manager["nodeList"]["n3"]["IPAddresses"][0]["IP"] = "new standby";
        deployment.managerNodeList(jsonText(manager));
        roles.Reload();
        EXPECT_EQ(roles.GetMasterInternalServiceIP(), "new master");
        EXPECT_EQ(roles.GetStandbyInternalServiceIP(), "20.1.2.1");
    }
}

TEST(RoleReload, WrongTypeInANodeOfAnotherTenancy_IsIgnored) {
    SampleDeployment deployment;
    Json::Value manager = support::sampleManagerNodeList(1);
    manager["nodeList"]["a"]["assignedToTenancy"] = "another";
    manager["nodeList"]["a"]["extAttr"] = array();
    deployment.managerNodeList(jsonText(manager));
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
}

TEST(RoleReload, WrongTypeInTheAddresses_KeepsTheseAndTheFollowingOnes) {
    for (const bool inMaster : {true, false}) {
        SCOPED_TRACE(inMaster ? "of the master" : "of the standby");
        Deployment deployment;
        SysConfReaderImpl& roles = loadGeneration(deployment, 1);
        Json::Value manager = support::sampleManagerNodeList(1);
        for (const char* id : {"m1", "m2"}) {
            manager["nodeList"][id]["IPAddresses"][0]["IP"] = "new";
        }
        manager["nodeList"][inMaster ? "m1" : "m2"]["IPAddresses"][0]["IP"] = array();
        deployment.managerNodeList(jsonText(manager));
        roles.Reload();
        EXPECT_EQ(roles.GetMasterInternalServiceIP(), inMaster ? "20.1.1.1" : "new");
        EXPECT_EQ(roles.GetStandbyInternalServiceIP(), "20.1.2.1");
    }
}

TEST(RoleReload, ReaderAlone_LeavesTheRolesUnchanged) {
    SampleDeployment deployment;
    SysConfReader::Instance();
    writeGeneration(deployment, 2);
    SysConfReader::Instance()->Reload();
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
}

/// The steps in another order: each reads its file and uses the values of the steps before it.
TEST(RoleSteps, EachAlone_ChangesItsOwnAnswersOnly) {
    Deployment deployment;
    SysConfReaderImpl& roles = loadGeneration(deployment, 1);
    writeGeneration(deployment, 2);
    Answers expected = support::sampleRoleAnswers(1);
    roles.InitLocalNodeId();
    EXPECT_EQ(support::roleAnswers(), expected);
    roles.InitLocalIp();
    expected[0].second = "10.2.2.2";
    EXPECT_EQ(support::roleAnswers(), expected);
    roles.InitAssignedToTenancy();
    expected[3].second = "tenancy2";
    EXPECT_EQ(support::roleAnswers(), expected);
    roles.InitMasterAndStandyNodeId();
    EXPECT_EQ(support::roleAnswers(), expected);
    roles.InitMasterAndStandyIp();
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
}

} // namespace
