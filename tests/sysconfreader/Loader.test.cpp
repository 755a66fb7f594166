// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "support/Answers.h"
#include "support/FileCalls.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <QuarnCommonUtils_i.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace {

using Quarncommon::SysConfReader;
using support::Answers;
using support::Deployment;
using support::jsonText;
using support::SampleDeployment;
using support::setEnvironment;

SysConfReader& freshReader() {
    SysConfReader::Destory();
    return *SysConfReader::Instance();
}

Answers withoutNodeList(int generation) {
    Answers values = support::sampleLoadedValues(generation);
    values.back().second = "";
    return values;
}

std::vector<std::string> openedPaths() {
    std::vector<std::string> paths;
    for (const support::OpenCall& call : support::openCalls()) {
        paths.push_back(call.path);
    }
    return paths;
}

TEST(Loader, GoodFiles_LoadEveryValue) {
    SampleDeployment deployment;
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(1));
}

TEST(Loader, NoFiles_LoadNothing) {
    Deployment deployment;
    SysConfReader::Instance();
    EXPECT_EQ(support::loadedValues(deployment), support::noLoadedValues());
}

TEST(Loader, FirstUse_LoadsTheRoleReaderThenEachFileOnce) {
    SampleDeployment deployment;
    SysConfReader::Instance();
    const std::string appConfig = deployment.appConfigPath();
    const std::string nodeList = deployment.nodeListPath();
    const std::string managerNodeList = deployment.managerNodeListPath();
    EXPECT_THAT(openedPaths(), testing::ElementsAre(appConfig, nodeList, nodeList, managerNodeList,
                                                    managerNodeList, appConfig, nodeList));
}

TEST(Loader, AppConfigVariableUnset_LoadsOnlyTheNodeList) {
    Deployment deployment;
    Json::Value nodes = support::sampleNodeList(1);
    nodes["nodeList"][""]["extAttr"]["HOSTID"] = "host of no node";
    deployment.appConfig(jsonText(support::sampleAppConfig(1))).nodeList(jsonText(nodes));
    setEnvironment("APP_CONF_FILE", nullptr);
    SysConfReader::Instance();
    Answers expected = support::noLoadedValues();
    expected.back().second = "host of no node";
    EXPECT_EQ(support::loadedValues(deployment), expected);
}

TEST(Loader, InstanceIdUnset_ReadsTheMemberWithTheEmptyKey) {
    Deployment deployment;
    Json::Value app = support::sampleAppConfig(1);
    app["processes"][""] = app["processes"]["p1"];
    app["processes"].removeMember("p1");
    deployment.appConfig(jsonText(app)).nodeList(jsonText(support::sampleNodeList(1)));
    setEnvironment("PROCESS_INSTANCE_ID", nullptr);
    SysConfReader::Instance();
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(1));
}

TEST(Loader, NoEntryForTheInstance_LoadsOnlyTheDatabases) {
    Deployment deployment;
    Answers expected = support::noLoadedValues();
    expected.front() = support::sampleLoadedValues(1).front();
    for (const char* instanceId : {static_cast<const char*>(nullptr), "", "p2", "P1", "p1 "}) {
        SCOPED_TRACE(instanceId != nullptr ? instanceId : "unset");
        writeGeneration(deployment, 1);
        setEnvironment("PROCESS_INSTANCE_ID", instanceId);
        freshReader();
        EXPECT_EQ(support::loadedValues(deployment), expected);
    }
}

TEST(Loader, VariablesChanged_AreReadByTheNextLoad) {
    SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    Json::Value app;
    app["processes"]["p2"]["local"]["port"] = 77;
    support::writeFile(support::testDirectory() / "other.json", jsonText(app));
    setEnvironment("APP_CONF_FILE", (support::testDirectory() / "other.json").c_str());
    setEnvironment("PROCESS_INSTANCE_ID", "p2");
    EXPECT_EQ(reader.getLocalPort(), 4001);
    reader.Reload();
    EXPECT_EQ(reader.getLocalPort(), 77);
}

TEST(Loader, AppRootUnset_ReadsTheNodeListUnderEtc) {
    SampleDeployment deployment;
    support::redirectOpen("/etc/sysconf/nodelist.json", deployment.nodeListPath());
    for (const char* root : {static_cast<const char*>(nullptr), ""}) {
        SCOPED_TRACE(root != nullptr ? root : "unset");
        setEnvironment("APP_ROOT", root);
        support::resetOpenCalls();
        SysConfReader& reader = freshReader();
        EXPECT_EQ(reader.GetAppRoot(), "");
        EXPECT_EQ(reader.getLocalHostTagName(), "host1-1");
        EXPECT_GT(support::openCount("/etc/sysconf/nodelist.json"), 0U);
        EXPECT_EQ(support::openCount(deployment.nodeListPath()), 0U);
    }
}

TEST(Loader, AnyAppRoot_IsJoinedVerbatim) {
    SampleDeployment deployment;
    std::filesystem::current_path(support::testDirectory());
    for (const std::string& root :
         {deployment.appRoot().string(), deployment.appRoot().string() + "/", std::string("app"),
          std::string("./app//")}) {
        SCOPED_TRACE(root);
        setEnvironment("APP_ROOT", root.c_str());
        support::resetOpenCalls();
        SysConfReader& reader = freshReader();
        EXPECT_EQ(reader.GetAppRoot(), root);
        EXPECT_EQ(reader.getLocalHostTagName(), "host1-1");
        EXPECT_GT(support::openCount(root + "/etc/sysconf/nodelist.json"), 0U);
    }
}

/// A value as JSON (null: the key is missing) and the loaded value (null: the load ends there).
struct ConversionRow {
    const char* value;
    const char* loaded;
};

const ConversionRow kTextRows[] = {
    {R"("10.0.0.9")", "10.0.0.9"},
    {R"("")", ""},
    {R"(" a\tb ")", " a\tb "},
    {"null", ""},
    {nullptr, ""},
    {"7", "7"},
    {"-7", "-7"},
    {"true", "true"},
    {"false", "false"},
    {"{}", nullptr},
    {R"({"a": 1})", nullptr},
    {"[]", nullptr},
    {R"(["x"])", nullptr},
};

const ConversionRow kPortRows[] = {
    {"8080", "8080"},
    {"0", "0"},
    {"-1", "-1"},
    {"2147483647", "2147483647"},
    {"70000", "70000"},
    {"null", "0"},
    {nullptr, "0"},
    {"true", "1"},
    {"false", "0"},
    {"80.0", "80"},
    {"80.9", "80"},
    {"2147483648", nullptr},
    {"1e300", nullptr},
    {"{}", nullptr},
    {"[]", nullptr},
    {R"("8080")", nullptr},
    {R"("")", nullptr},
    {"-2147483648", "-2147483648"},
    {"-2147483649", nullptr},
};

/// `next` is loaded after the key.
std::string appConfigWith(const std::string& section, const std::string& key, const char* value,
                          const std::string& next) {
    const std::string member =
        value != nullptr ? '"' + key + R"(": )" + value : std::string(R"("unread": 1)");
    return R"({"processes": {"p1": {")" + section + R"(": {)" + member + "}, " + next + "}}}";
}

TEST(Loader, ValueInPlaceOfAText_IsConvertedOrEndsTheLoad) {
    Deployment deployment;
    for (const ConversionRow& row : kTextRows) {
        SCOPED_TRACE(row.value != nullptr ? row.value : "missing");
        deployment.appConfig(appConfigWith("wss", "ip", row.value, R"("local": {"port": 4321})"));
        SysConfReader& reader = freshReader();
        const bool loaded = row.loaded != nullptr;
        EXPECT_EQ(reader.GetWssIPAddress(), loaded ? row.loaded : "");
        EXPECT_EQ(reader.getLocalPort(), loaded ? 4321 : 0);
    }
}

TEST(Loader, ValueInPlaceOfAPort_IsConvertedOrEndsTheLoad) {
    Deployment deployment;
    for (const ConversionRow& row : kPortRows) {
        SCOPED_TRACE(row.value != nullptr ? row.value : "missing");
        deployment.appConfig(
            appConfigWith("local", "port", row.value, R"("CORBA": {"port": 4321})"));
        SysConfReader& reader = freshReader();
        const bool loaded = row.loaded != nullptr;
        EXPECT_EQ(std::to_string(reader.getLocalPort()), loaded ? row.loaded : "0");
        EXPECT_EQ(reader.getCorbaPort(), loaded ? 4321 : 0);
    }
}

TEST(Loader, AnyMemberMissing_ReadsAsEmptyAndTheLoadContinues) {
    Deployment deployment;
    for (const char* section : {"IR", "local", "wss", "CORBA", "CORBA_SSL"}) {
        for (const bool null : {false, true}) {
            SCOPED_TRACE(testing::Message() << section << (null ? " null" : " missing"));
            writeGeneration(deployment, 1);
            Json::Value app = support::sampleAppConfig(1);
            app["processes"]["p1"].removeMember(section);
            if (null) {
                app["processes"]["p1"][section] = Json::Value();
            }
            deployment.appConfig(jsonText(app));
            SysConfReader& reader = freshReader();
            EXPECT_EQ(reader.getMaintenanceIPAddress().empty(), section == std::string("IR"));
            EXPECT_EQ(reader.getLocalhostIPAddress().empty(), section == std::string("local"));
            EXPECT_EQ(reader.getLocalPort() == 0, section == std::string("local"));
            EXPECT_EQ(reader.GetWssIPAddress().empty(), section == std::string("wss"));
            EXPECT_EQ(reader.GetWssPort() == 0, section == std::string("wss"));
            EXPECT_EQ(reader.getCorbaPort() == 0, section == std::string("CORBA"));
            EXPECT_EQ(reader.getCorbaSSLPort() == 0, section == std::string("CORBA_SSL"));
            EXPECT_EQ(reader.getLocalHostTagName(), "host1-1");
        }
    }
}

TEST(Loader, NullOrMissingSections_LoadAsEmpty) {
    Deployment deployment;
    for (const char* text : {"null", "{}", R"({"databases": null, "processes": null})",
                             R"({"processes": {"p1": null}})", R"({"processes": {}})"}) {
        SCOPED_TRACE(text);
        deployment.appConfig(text).nodeList(R"({"nodeList": {"": {"extAttr": {"HOSTID": "h"}}}})");
        Answers expected = support::noLoadedValues();
        expected.back().second = "h";
        freshReader();
        EXPECT_EQ(support::loadedValues(deployment), expected);
    }
}

TEST(Loader, OwnNodeNotListed_HasNoHostTag) {
    Deployment deployment;
    for (const char* text :
         {"null", "{}", R"({"nodeList": null})", R"({"nodeList": {}})",
          R"({"nodeList": {"node1": null}})", R"({"nodeList": {"node1": {"extAttr": null}}})",
          R"({"nodeList": {"node1": {"extAttr": {"HOSTID": null}}}})",
          R"({"nodeList": {"NODE1": {"extAttr": {"HOSTID": "h"}}}})"}) {
        SCOPED_TRACE(text);
        deployment.appConfig(jsonText(support::sampleAppConfig(1))).nodeList(text);
        freshReader();
        EXPECT_EQ(support::loadedValues(deployment), withoutNodeList(1));
    }
}

TEST(Loader, DatabasesOfAnyType_AreKeptUnchanged) {
    Deployment deployment;
    deployment.appConfig(
        R"({"databases": {"b": [], "a": [{"type": "t"}], "": null, "c": 5, "d": {"x": 1}}})");
    std::map<std::string, Json::Value> all;
    EXPECT_EQ(SysConfReader::Instance()->getAllDBInfo(all), 0);
    std::string text;
    for (const auto& [name, database] : all) {
        text += name + "=" + jsonText(database) + ";";
    }
    EXPECT_EQ(text, R"(=null;a=[{"type":"t"}];b=[];c=5;d={"x":1};)");
}

std::string standbyNodeList(const std::string& hostType, const std::string& address) {
    Json::Value nodes;
    nodes["nodeList"]["node1"]["extAttr"]["hostType"] = hostType;
    nodes["nodeList"]["node1"]["extAttr"]["HOSTID"] = "own tag";
    Json::Value& source = nodes["nodeList"]["source"];
    source["extAttr"]["hostType"] = "master";
    source["extAttr"]["HOSTID"] = "source tag";
    source["IPAddresses"][0]["IP"] = address;
    source["IPAddresses"][0]["usage"].append("service");
    return jsonText(nodes);
}

bool hostHas(const std::string& address) {
    std::list<std::string> addresses;
    QuarnCommonUtils_i::getAllIPAddr(addresses);
    return std::find(addresses.begin(), addresses.end(), address) != addresses.end();
}

TEST(FloatNode, StandbyWhoseHostHasTheSourcesAddress_IsThatSource) {
    ASSERT_TRUE(hostHas("127.0.0.1"));
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)))
        .nodeList(standbyNodeList("standby", "127.0.0.1"));
    Answers expected = support::sampleLoadedValues(1);
    expected[support::kFromAppConfig - 1].second = "source";
    expected[support::kFromAppConfig].second = "source tag";
    SysConfReader::Instance();
    EXPECT_EQ(support::loadedValues(deployment), expected);
}

TEST(FloatNode, StandbyAndTheAddressesOfThisHost_DecideTogether) {
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)));
    for (const char* address : {"127.0.0.1", "::1", "203.0.113.77", "2001:db8::77", ""}) {
        SCOPED_TRACE(address);
        deployment.nodeList(standbyNodeList("standby", address));
        SysConfReader& reader = freshReader();
        EXPECT_EQ(reader.getFloatNodeId(), hostHas(address) ? "source" : "node1");
        EXPECT_EQ(reader.getLocalHostTagName(), hostHas(address) ? "source tag" : "own tag");
    }
}

TEST(FloatNode, HostTypeNotExactlyStandby_IsTheOwnNode) {
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)));
    for (const char* hostType : {"Standby", "STANDBY", "standby ", " standby", "standbys", "stand",
                                 "master", "Master", ""}) {
        SCOPED_TRACE(hostType);
        deployment.nodeList(standbyNodeList(hostType, "127.0.0.1"));
        SysConfReader& reader = freshReader();
        EXPECT_EQ(reader.getFloatNodeId(), "node1");
        EXPECT_EQ(reader.getLocalHostTagName(), "own tag");
    }
}

TEST(FloatNode, Reload_FollowsTheHostsAddresses) {
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)))
        .nodeList(standbyNodeList("standby", "127.0.0.1"));
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
    deployment.nodeList(standbyNodeList("standby", "203.0.113.77"));
    reader.Reload();
    EXPECT_EQ(reader.getFloatNodeId(), "node1");
    EXPECT_EQ(reader.getLocalHostTagName(), "own tag");
    deployment.nodeList(standbyNodeList("standby", "127.0.0.1"));
    reader.Reload();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
}

TEST(FloatNode, HostTypeOfTheOwnNodeDecides_NotThatOfTheSource) {
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)));
    deployment.nodeList(standbyNodeList("standby", "127.0.0.1"));
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
    // Without app config the float node remains, and the own node is still "node1".
    std::filesystem::remove(deployment.appConfigPath());
    deployment.nodeList(standbyNodeList("master", "127.0.0.1"));
    reader.Reload();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
    EXPECT_EQ(reader.getLocalHostTagName(), "source tag");
}

} // namespace
