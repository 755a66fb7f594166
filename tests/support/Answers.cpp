// SPDX-License-Identifier: Apache-2.0
#include "support/Answers.h"

#include "SysConfReader.h"
#include "SysConfReader_i.h"
#include "support/SampleTexts.h"

namespace support {

namespace {

std::string databases(Quarncommon::SysConfReader& reader) {
    std::map<std::string, Json::Value> all;
    reader.getAllDBInfo(all);
    std::string text;
    for (const auto& [name, database] : all) {
        text += name + "=" + jsonText(database) + ";";
    }
    return text;
}

std::string nodeListWithIdsAsAddresses() {
    Json::Value root;
    for (const char* id : {"", "node1", "node2", "node3", "source"}) {
        Json::Value& entry = root["nodeList"][id]["IPAddresses"][0U];
        entry["IP"] = id;
        entry["usage"].append("maintenance");
    }
    return jsonText(root);
}

} // namespace

Answers loadedValues(Deployment& deployment) {
    Quarncommon::SysConfReader& reader = *Quarncommon::SysConfReader::Instance();
    deployment.nodeList(nodeListWithIdsAsAddresses());
    return {{"databases", databases(reader)},
            {"maintenanceIP", reader.getMaintenanceIPAddress()},
            {"localhostIP", reader.getLocalhostIPAddress()},
            {"wssIP", reader.GetWssIPAddress()},
            {"wssPort", std::to_string(reader.GetWssPort())},
            {"localPort", std::to_string(reader.getLocalPort())},
            {"corbaPort", std::to_string(reader.getCorbaPort())},
            {"corbaSSLPort", std::to_string(reader.getCorbaSSLPort())},
            {"nodeId", reader.getLocalMaintenanceIP()},
            {"floatNodeId", reader.getFloatNodeId()},
            {"hostTag", reader.getLocalHostTagName()}};
}

Answers roleAnswers() {
    const Quarncommon::SysConfReader_i& facade = *Quarncommon::SysConfReader_i::Instance();
    return {{"localIP", facade.GetLocalInternalServiceIP()},
            {"masterIP", facade.GetMasterInternalServiceIP()},
            {"standbyIP", facade.GetStandbyInternalServiceIP()},
            {"productName", facade.GetProductName()}};
}

Answers sampleLoadedValues(int generation) {
    const std::string g = std::to_string(generation);
    const auto port = [&](int base) { return std::to_string(base + generation); };
    return {{"databases", "db=" + jsonText(sampleAppConfig(generation)["databases"]["db"]) + ";"},
            {"maintenanceIP", "10." + g + ".0.1"},
            {"localhostIP", "10." + g + ".0.2"},
            {"wssIP", "10." + g + ".0.3"},
            {"wssPort", port(5000)},
            {"localPort", port(4000)},
            {"corbaPort", port(6000)},
            {"corbaSSLPort", port(7000)},
            {"nodeId", "node" + g},
            {"floatNodeId", "node" + g},
            {"hostTag", "host" + g + "-" + g}};
}

Answers noLoadedValues() {
    return {{"databases", ""}, {"maintenanceIP", ""}, {"localhostIP", ""}, {"wssIP", ""},
            {"wssPort", "0"},  {"localPort", "0"},    {"corbaPort", "0"},  {"corbaSSLPort", "0"},
            {"nodeId", ""},    {"floatNodeId", ""},   {"hostTag", ""}};
}

Answers sampleRoleAnswers(int generation) {
    const std::string g = std::to_string(generation);
    return {{"localIP", "10." + g + "." + g + ".2"},
            {"masterIP", "20." + g + ".1.1"},
            {"standbyIP", "20." + g + ".2.1"},
            {"productName", "tenancy" + g}};
}

Answers noRoleAnswers() {
    return {{"localIP", ""}, {"masterIP", ""}, {"standbyIP", ""}, {"productName", ""}};
}

} // namespace support
