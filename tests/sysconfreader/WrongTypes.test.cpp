// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "support/Answers.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

namespace {

using Quarncommon::SysConfReader;
using support::Answers;
using support::Deployment;
using support::jsonText;
using support::SampleDeployment;

Json::Value object() {
    Json::Value value;
    value["a"] = 1;
    return value;
}

Json::Value array() {
    Json::Value value;
    value.append("a");
    return value;
}

struct WrongTypeRow {
    const char* name;
    void (*poison)(Json::Value& app, Json::Value& nodes);
    std::size_t assigned;
};

Json::Value& process(Json::Value& app) {
    return app["processes"]["p1"];
}

// In the order of the loader.
const WrongTypeRow kRows[] = {
    {"app config an array", [](auto& app, auto&) { app = array(); }, 0},
    {"app config a text", [](auto& app, auto&) { app = "text"; }, 0},
    {"app config a number", [](auto& app, auto&) { app = 5; }, 0},
    {"databases an array", [](auto& app, auto&) { app["databases"] = array(); }, 0},
    {"databases a text", [](auto& app, auto&) { app["databases"] = "db"; }, 0},
    {"databases a number", [](auto& app, auto&) { app["databases"] = 1; }, 0},
    {"processes an array", [](auto& app, auto&) { app["processes"] = array(); }, 1},
    {"processes a text", [](auto& app, auto&) { app["processes"] = "p1"; }, 1},
    {"own process an array", [](auto& app, auto&) { process(app) = array(); }, 1},
    {"own process a text", [](auto& app, auto&) { process(app) = "p1"; }, 1},
    {"IR an array", [](auto& app, auto&) { process(app)["IR"] = array(); }, 1},
    {"IR ip an object", [](auto& app, auto&) { process(app)["IR"]["ip"] = object(); }, 1},
    {"IR ip an array", [](auto& app, auto&) { process(app)["IR"]["ip"] = array(); }, 1},
    {"local a text", [](auto& app, auto&) { process(app)["local"] = "l"; }, 2},
    {"local ip an object", [](auto& app, auto&) { process(app)["local"]["ip"] = object(); }, 2},
    {"wss an array", [](auto& app, auto&) { process(app)["wss"] = array(); }, 3},
    {"wss ip an array", [](auto& app, auto&) { process(app)["wss"]["ip"] = array(); }, 3},
    {"wss port a text", [](auto& app, auto&) { process(app)["wss"]["port"] = "5002"; }, 4},
    {"wss port an object", [](auto& app, auto&) { process(app)["wss"]["port"] = object(); }, 4},
    {"wss port too large",
     [](auto& app, auto&) { process(app)["wss"]["port"] = Json::Int64(1) << 40; }, 4},
    {"local port a text", [](auto& app, auto&) { process(app)["local"]["port"] = "4002"; }, 5},
    {"CORBA an array", [](auto& app, auto&) { process(app)["CORBA"] = array(); }, 6},
    {"CORBA port a text", [](auto& app, auto&) { process(app)["CORBA"]["port"] = "6002"; }, 6},
    {"CORBA_SSL a number", [](auto& app, auto&) { process(app)["CORBA_SSL"] = 7; }, 7},
    {"CORBA_SSL port a text", [](auto& app, auto&) { process(app)["CORBA_SSL"]["port"] = "7002"; },
     7},
    {"nodeId an object", [](auto& app, auto&) { process(app)["nodeId"] = object(); }, 8},
    {"nodeId an array", [](auto& app, auto&) { process(app)["nodeId"] = array(); }, 8},
    {"node list file an array", [](auto&, auto& nodes) { nodes = array(); }, 10},
    {"node list file a text", [](auto&, auto& nodes) { nodes = "text"; }, 10},
    {"nodeList an array", [](auto&, auto& nodes) { nodes["nodeList"] = array(); }, 10},
    {"nodeList a text", [](auto&, auto& nodes) { nodes["nodeList"] = "node2"; }, 10},
    {"own node an array", [](auto&, auto& nodes) { nodes["nodeList"]["node2"] = array(); }, 10},
    {"own node a text", [](auto&, auto& nodes) { nodes["nodeList"]["node2"] = "node2"; }, 10},
    {"extAttr an array",
     [](auto&, auto& nodes) { nodes["nodeList"]["node2"]["extAttr"] = array(); }, 10},
    {"hostType an object",
     [](auto&, auto& nodes) { nodes["nodeList"]["node2"]["extAttr"]["hostType"] = object(); }, 10},
    {"hostType an array",
     [](auto&, auto& nodes) { nodes["nodeList"]["node2"]["extAttr"]["hostType"] = array(); }, 10},
    {"HOSTID an object",
     [](auto&, auto& nodes) { nodes["nodeList"]["node2"]["extAttr"]["HOSTID"] = object(); }, 10},
    {"HOSTID an array",
     [](auto&, auto& nodes) { nodes["nodeList"]["node2"]["extAttr"]["HOSTID"] = array(); }, 10},
    {"nothing", [](auto&, auto&) {}, 11},
};

void writePoisoned(Deployment& deployment, const WrongTypeRow& row) {
    Json::Value app = support::sampleAppConfig(2);
    Json::Value nodes = support::sampleNodeList(2);
    row.poison(app, nodes);
    deployment.appConfig(jsonText(app)).nodeList(jsonText(nodes));
}

Answers firstNew(std::size_t number, const Answers& now, Answers before) {
    std::copy(now.begin(), now.begin() + static_cast<std::ptrdiff_t>(number), before.begin());
    return before;
}

TEST(WrongType, OnTheFirstLoad_LeavesLaterValuesEmpty) {
    Deployment deployment;
    for (const WrongTypeRow& row : kRows) {
        SCOPED_TRACE(row.name);
        SysConfReader::Destory();
        writePoisoned(deployment, row);
        SysConfReader::Instance();
        EXPECT_EQ(
            support::loadedValues(deployment),
            firstNew(row.assigned, support::sampleLoadedValues(2), support::noLoadedValues()));
    }
}

TEST(WrongType, OnAReload_LeavesLaterValuesUnchanged) {
    Deployment deployment;
    Answers before = support::sampleLoadedValues(1);
    before.front().second = ""; // a reload clears the databases first
    for (const WrongTypeRow& row : kRows) {
        SCOPED_TRACE(row.name);
        SysConfReader::Destory();
        writeGeneration(deployment, 1);
        SysConfReader& reader = *SysConfReader::Instance();
        writePoisoned(deployment, row);
        reader.Reload();
        EXPECT_EQ(support::loadedValues(deployment),
                  firstNew(row.assigned, support::sampleLoadedValues(2), before));
    }
}

TEST(WrongType, AnyValue_EndsTheLoadWithoutAnExceptionAndTheNextLoadIsComplete) {
    Deployment deployment;
    for (const WrongTypeRow& row : kRows) {
        SCOPED_TRACE(row.name);
        SysConfReader::Destory();
        writePoisoned(deployment, row);
        EXPECT_NO_THROW(SysConfReader::Instance()->Reload());
        writeGeneration(deployment, 3);
        SysConfReader::Instance()->Reload();
        EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(3));
    }
}

Json::Value standbyNodeList() {
    Json::Value nodes = support::sampleNodeList(2);
    nodes["nodeList"]["node2"]["extAttr"]["hostType"] = "standby";
    Json::Value& source = nodes["nodeList"]["source"];
    source["extAttr"]["HOSTID"] = "source tag";
    source["IPAddresses"][0]["IP"] = "127.0.0.1";
    source["IPAddresses"][0]["usage"].append("service");
    return nodes;
}

TEST(WrongType, HostTagOfTheSource_FloatNodeIsNew) {
    SampleDeployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    Json::Value nodes = standbyNodeList();
    nodes["nodeList"]["source"]["extAttr"]["HOSTID"] = object();
    deployment.appConfig(jsonText(support::sampleAppConfig(2))).nodeList(jsonText(nodes));
    reader.Reload();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
    EXPECT_EQ(reader.getLocalHostTagName(), "host1-1");
}

TEST(WrongType, HostTagOfTheOwnNode_IsIgnoredOnAStandbyNode) {
    Deployment deployment;
    Json::Value nodes = standbyNodeList();
    nodes["nodeList"]["node2"]["extAttr"]["HOSTID"] = object();
    deployment.appConfig(jsonText(support::sampleAppConfig(2))).nodeList(jsonText(nodes));
    EXPECT_EQ(SysConfReader::Instance()->getLocalHostTagName(), "source tag");
}

TEST(WrongType, InAnotherNodesEntry_EndsOnlyTheSearchForTheSource) {
    // The entry "a" is before the source's, "z" after it.
    for (const auto& [id, found] : {std::pair("a", "node2"), std::pair("z", "source")}) {
        SCOPED_TRACE(id);
        Deployment deployment;
        Json::Value nodes = standbyNodeList();
        nodes["nodeList"][id]["extAttr"] = "text";
        deployment.appConfig(jsonText(support::sampleAppConfig(2))).nodeList(jsonText(nodes));
        SysConfReader::Destory();
        SysConfReader& reader = *SysConfReader::Instance();
        EXPECT_EQ(reader.getFloatNodeId(), found);
        EXPECT_EQ(reader.getLocalHostTagName(),
                  found == std::string("source") ? "source tag" : "host2-2");
    }
}

TEST(WrongType, InAnotherProcess_IsIgnored) {
    Deployment deployment;
    Json::Value app = support::sampleAppConfig(2);
    app["processes"]["p0"] = array();
    app["processes"]["p2"]["wss"]["port"] = "text";
    deployment.appConfig(jsonText(app)).nodeList(jsonText(support::sampleNodeList(2)));
    SysConfReader::Instance();
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

} // namespace
