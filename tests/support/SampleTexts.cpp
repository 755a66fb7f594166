// SPDX-License-Identifier: Apache-2.0
#include "support/SampleTexts.h"

#include "support/EventLibrary.h"

#include <json/writer.h>

namespace support {

namespace {

std::string number(int generation) {
    return std::to_string(generation);
}

Json::Value addressEntry(const std::string& address, const std::string& tag) {
    Json::Value entry;
    entry["IP"] = address;
    entry["usage"].append(tag);
    return entry;
}

} // namespace

Json::Value sampleAppConfig(int generation) {
    const std::string g = number(generation);
    Json::Value entry;
    entry["accessPort"] = 3000 + generation;
    for (const char* key : {"type", "user", "serviceName", "passwd", "serverName", "accessHost"}) {
        entry[key] = key + g;
    }
    entry["instanceExt"]["lib"] = "lib" + g;

    Json::Value process;
    process["IR"]["ip"] = "10." + g + ".0.1";
    process["local"]["ip"] = "10." + g + ".0.2";
    process["local"]["port"] = 4000 + generation;
    process["wss"]["ip"] = "10." + g + ".0.3";
    process["wss"]["port"] = 5000 + generation;
    process["CORBA"]["port"] = 6000 + generation;
    process["CORBA_SSL"]["port"] = 7000 + generation;
    process["nodeId"] = "node" + g;

    Json::Value root;
    root["databases"]["db"].append(entry);
    root["processes"]["p1"] = process;
    return root;
}

Json::Value sampleNodeList(int generation) {
    const std::string g = number(generation);
    Json::Value root;
    for (const std::string& n : {std::string("1"), std::string("2"), std::string("3"), g}) {
        Json::Value& node = root["nodeList"]["node" + n];
        node = Json::Value();
        node["assignedToTenancy"] = "tenancy" + g;
        node["extAttr"]["hostType"] = "master";
        node["extAttr"]["HOSTID"] = "host" + n + "-" + g;
        const std::string prefix = "10." + g + "." + n + ".";
        node["IPAddresses"].append(addressEntry(prefix + "1", "maintenance"));
        node["IPAddresses"].append(addressEntry(prefix + "2", "internal_service"));
        node["IPAddresses"].append(addressEntry(prefix + "3", "service"));
    }
    return root;
}

Json::Value sampleManagerNodeList(int generation) {
    const std::string g = number(generation);
    Json::Value root;
    Json::Value& master = root["nodeList"]["m1"];
    master["assignedToTenancy"] = "tenancy" + g;
    master["extAttr"]["hostType"] = "master";
    master["extAttr"]["domain_node_type"] = "ACCESS_Master";
    master["IPAddresses"].append(addressEntry("20." + g + ".1.1", "internal_service"));
    Json::Value& standby = root["nodeList"]["m2"];
    standby["assignedToTenancy"] = "tenancy" + g;
    standby["extAttr"]["hostType"] = "standby";
    standby["extAttr"]["domain_node_type"] = "ACCESS_Backup";
    standby["IPAddresses"].append(addressEntry("20." + g + ".2.1", "internal_service"));
    return root;
}

std::string jsonText(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

void writeGeneration(Deployment& deployment, int generation) {
    deployment.appConfig(jsonText(sampleAppConfig(generation)))
        .nodeList(jsonText(sampleNodeList(generation)))
        .managerNodeList(jsonText(sampleManagerNodeList(generation)));
}

SampleDeployment::SampleDeployment(const char* eventLibrary) {
    writeGeneration(*this, 1);
    if (eventLibrary != nullptr) {
        installEventLibrary(eventLibrary);
    }
}

} // namespace support
