// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "support/Answers.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Quarncommon::SysConfReader;
using support::Answers;
using support::Deployment;
using support::jsonText;

SysConfReader& loadGeneration(Deployment& deployment, int generation) {
    SysConfReader::Destory();
    writeGeneration(deployment, generation);
    return *SysConfReader::Instance();
}

TEST(FirstLoad, AppConfigNotParsable_StillReadsTheNodeList) {
    Deployment deployment;
    deployment.appConfig("{").nodeList(
        R"({"nodeList": {"": {"extAttr": {"HOSTID": "no node's"}}}})");
    SysConfReader::Instance();
    Answers expected = support::noLoadedValues();
    expected.back().second = "no node's";
    EXPECT_EQ(support::loadedValues(deployment), expected);
}

TEST(FirstLoad, NodeListNotParsable_LoadsTheAppConfig) {
    Deployment deployment;
    Answers expected = support::sampleLoadedValues(1);
    expected.back().second = "";
    writeGeneration(deployment, 1);
    deployment.nodeList("{");
    SysConfReader::Instance();
    EXPECT_EQ(support::loadedValues(deployment), expected);
}

TEST(Reload, NewFiles_ReplaceEveryValue) {
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    writeGeneration(deployment, 2);
    reader.Reload();
    EXPECT_EQ(SysConfReader::Instance(), &reader);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

TEST(Reload, FilesChangedOnly_KeepsTheValuesUntilThen) {
    Deployment deployment;
    loadGeneration(deployment, 1);
    writeGeneration(deployment, 2);
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(1));
}

TEST(Reload, AppConfigNotParsable_HasNoDatabasesAndReadsTheNodeListForTheOldNode) {
    Deployment deployment;
    Answers expected = support::sampleLoadedValues(1);
    expected.front().second = "";
    expected.back().second = "host1-2";
    SysConfReader& reader = loadGeneration(deployment, 1);
    deployment.appConfig("{").nodeList(jsonText(support::sampleNodeList(2)));
    reader.Reload();
    EXPECT_EQ(support::loadedValues(deployment), expected);
}

TEST(Reload, NodeListNotParsable_KeepsTheHostTagAndUsesTheNewNode) {
    Deployment deployment;
    Answers expected = support::sampleLoadedValues(2);
    expected.back().second = "host1-1";
    SysConfReader& reader = loadGeneration(deployment, 1);
    deployment.appConfig(jsonText(support::sampleAppConfig(2))).nodeList("{");
    reader.Reload();
    EXPECT_EQ(support::loadedValues(deployment), expected);
}

TEST(Reload, NodeListDeletedOnAStandbyNode_FallsBackToTheOwnNode) {
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)))
        .nodeList(R"({"nodeList": {"node1": {"extAttr": {"hostType": "standby"}},
            "source": {"extAttr": {"HOSTID": "tag"},
                       "IPAddresses": [{"IP": "127.0.0.1", "usage": ["service"]}]}}})");
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
    std::filesystem::remove(deployment.nodeListPath());
    reader.Reload();
    EXPECT_EQ(reader.getFloatNodeId(), "node1");
    EXPECT_EQ(reader.getLocalHostTagName(), "tag");
}

TEST(Reload, BothFilesDeletedOnAStandbyNode_KeepsTheFloatNode) {
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)))
        .nodeList(R"({"nodeList": {"node1": {"extAttr": {"hostType": "standby"}},
            "source": {"IPAddresses": [{"IP": "127.0.0.1", "usage": ["service"]}]}}})");
    SysConfReader& reader = *SysConfReader::Instance();
    std::filesystem::remove(deployment.appConfigPath());
    std::filesystem::remove(deployment.nodeListPath());
    reader.Reload();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
}

TEST(Reload, DatabaseRemovedAddedAndChanged_HasExactlyTheNewOnes) {
    Deployment deployment;
    deployment.appConfig(R"({"databases": {"a": [1], "b": [2]}})");
    SysConfReader& reader = *SysConfReader::Instance();
    deployment.appConfig(R"({"databases": {"b": [3], "c": [4]}})");
    reader.Reload();
    std::map<std::string, Json::Value> all;
    reader.getAllDBInfo(all);
    std::map<std::string, Json::Value> expected;
    expected["b"].append(3);
    expected["c"].append(4);
    EXPECT_EQ(all, expected);
}

TEST(Reload, MembersRemoved_BecomeEmpty) {
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    deployment.appConfig("{}");
    deployment.nodeList("{}");
    reader.Reload();
    EXPECT_EQ(support::loadedValues(deployment), support::noLoadedValues());
}

} // namespace
