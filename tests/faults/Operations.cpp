#include "faults/Operations.h"

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Deployment.h"
#include "support/SampleTexts.h"

#include <exception>

namespace faults {

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;

// Longer than what a string keeps inside itself, so that each copy takes memory.
const std::string kTail = " -- a text that takes memory of its own";

// Arguments, made before any call.
const std::string kDatabase = "a database with a long name";
const std::string kTag = "a tag that the caller asks for";
const std::string kNorthbound = "northbound";
const std::string kField = "a member of the nodes by which they are selected";
const std::string kPrefix = "an";
const std::string kEvent = "SysConfigEvent";
const std::string kNothing;

SysConfReader& reader() {
    return *SysConfReader::Instance();
}

SysConfReaderImpl& roles() {
    return *SysConfReaderImpl::Instance();
}

SysConfReader_i& facade() {
    return *SysConfReader_i::Instance();
}

const Json::Value& roleAddresses() {
    static const Json::Value addresses = [] {
        Json::Value entries;
        entries[0U]["IP"] = "internal" + kTail;
        entries[0U]["usage"][0U] = "internal_service";
        return entries;
    }();
    return addresses;
}

constexpr Effect kAnswers = Effect::Answers;
constexpr Effect kChanges = Effect::Changes;
constexpr Shortage kNever = Shortage::NeverThrows;
constexpr Shortage kMay = Shortage::MayThrow;

} // namespace

Outputs::Outputs() : tags{kTag, "service"} {}

std::string Outputs::told() const {
    std::string all = std::to_string(number) + " " + text + " " + text2;
    for (const std::string& one : list) {
        all += " " + one;
    }
    for (const auto& [key, value] : byNumber) {
        all += " " + std::to_string(key) + "=" + value;
    }
    for (const auto& [key, value] : byName) {
        all += value.empty() ? "" : " " + key + "=" + value;
    }
    for (const auto& [key, values] : sets) {
        all += " " + key + "=";
        for (const std::string& value : values) {
            all += value + ",";
        }
    }
    all += support::jsonText(tree);
    for (const auto& [key, value] : trees) {
        all += " " + key + "=" + support::jsonText(value);
    }
    return all;
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> table{
        {"SysConfReader::getLocalPort", kAnswers, kNever,
         [](Outputs& out) { out.number = reader().getLocalPort(); }},
        {"SysConfReader::getCorbaPort", kAnswers, kNever,
         [](Outputs& out) { out.number = reader().getCorbaPort(); }},
        {"SysConfReader::getCorbaSSLPort", kAnswers, kNever,
         [](Outputs& out) { out.number = reader().getCorbaSSLPort(); }},
        {"SysConfReader::GetWssPort", kAnswers, kNever,
         [](Outputs& out) { out.number = reader().GetWssPort(); }},
        {"SysConfReader::GetWssIPAddress", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().GetWssIPAddress(); }},
        {"SysConfReader::getLocalhostIPAddress", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getLocalhostIPAddress(); }},
        {"SysConfReader::getMaintenanceIPAddress", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getMaintenanceIPAddress(); }},
        {"SysConfReader::getLocalHostTagName", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getLocalHostTagName(); }},
        {"SysConfReader::getFloatNodeId", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getFloatNodeId(); }},
        {"SysConfReader::GetMasterInternalServiceIP", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().GetMasterInternalServiceIP(); }},
        {"SysConfReader::GetStandbyInternalServiceIP", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().GetStandbyInternalServiceIP(); }},
        {"SysConfReader::GetAppRoot", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().GetAppRoot(); }},
        {"SysConfReader::getDBInfo", kAnswers, kMay,
         [](Outputs& out) { out.number = reader().getDBInfo(kDatabase, out.tree); }},
        {"SysConfReader::getAllDBInfo", kAnswers, kMay,
         [](Outputs& out) { out.number = reader().getAllDBInfo(out.trees); }},
        {"SysConfReader::getDBAccessPort", kAnswers, kMay,
         [](Outputs& out) { out.number = reader().getDBAccessPort(kDatabase, 0); }},
        {"SysConfReader::getDBType", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getDBType(kDatabase, 0); }},
        {"SysConfReader::getDBUserName", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getDBUserName(kDatabase, 0); }},
        {"SysConfReader::getDBServiceName", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getDBServiceName(kDatabase, 0); }},
        {"SysConfReader::getDBPassword", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getDBPassword(kDatabase, 0); }},
        {"SysConfReader::getDBServerName", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getDBServerName(kDatabase, 0); }},
        {"SysConfReader::getDBAccessHost", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getDBAccessHost(kDatabase, 0); }},
        {"SysConfReader::getDBLib", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getDBLib(kDatabase, 0); }},
        {"SysConfReader::getLocalIPByUsage", kAnswers, kNever,
         [](Outputs& out) { out.text = reader().getLocalIPByUsage(kTag); }},
        {"SysConfReader::getLocalMaintenanceIP", kAnswers, kNever,
         [](Outputs& out) { out.text = reader().getLocalMaintenanceIP(); }},
        {"SysConfReader::getLocalServiceIP", kAnswers, kNever,
         [](Outputs& out) { out.text = reader().getLocalServiceIP(); }},
        {"SysConfReader::getLocalService2IP", kAnswers, kNever,
         [](Outputs& out) { out.text = reader().getLocalService2IP(); }},
        {"SysConfReader::getLocalNodeIPs", kAnswers, kNever,
         [](Outputs& out) {
             reader().getLocalNodeIPs(kNorthbound, out.byNumber, out.text, out.text2);
         }},
        {"SysConfReader::getLocalNodeIPs", kAnswers, kNever,
         [](Outputs& out) { reader().getLocalNodeIPs(out.byName); }},
        {"SysConfReader::getLocalNorthIP", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getLocalNorthIP(); }},
        {"SysConfReader::getLocalSouthIP", kAnswers, kMay,
         [](Outputs& out) { out.text = reader().getLocalSouthIP(); }},
        {"SysConfReader::getPFType", kAnswers, kMay,
         [](Outputs& out) { out.number = reader().getPFType(); }},
        {"SysConfReader::getIPAddresses", kAnswers, kNever,
         [](Outputs& out) { out.number = reader().getIPAddresses(kField, kPrefix, out.list); }},
        {"SysConfReader::getAllFloatIP", kAnswers, kNever,
         [](Outputs& out) { out.number = reader().getAllFloatIP(std::move(out.tags), out.sets); }},
        {"SysConfReader::getSourceNodeId", kAnswers, kMay,
         [](Outputs& out) { reader().getSourceNodeId(out.text); }},
        {"SysConfReader::Instance", kChanges, kMay,
         [](Outputs& out) { out.number = SysConfReader::Instance() != nullptr ? 1 : 0; },
         &destroyAll},
        {"SysConfReader::Instance", kChanges, kMay,
         [](Outputs& out) { out.number = SysConfReader::Instance() != nullptr ? 1 : 0; },
         [] {
             destroyAll();
             SysConfReaderImpl::Instance();
         }},
        {"SysConfReader::Reload", kChanges, kMay, [](Outputs&) { reader().Reload(); }},
        {"SysConfReader::init_i", kChanges, kMay, [](Outputs&) { reader().init_i(); }},
        {"SysConfReader::Destory", kChanges, kNever, [](Outputs&) { SysConfReader::Destory(); }},
        {"SysConfReader::Destory", kChanges, kMay, [](Outputs&) { SysConfReader::Destory(); },
         [] { SysConfReaderImpl::Destory(); }},

        {"SysConfReaderImpl::GetLocalInternalServiceIP", kAnswers, kMay,
         [](Outputs& out) { out.text = roles().GetLocalInternalServiceIP(); }},
        {"SysConfReaderImpl::GetMasterInternalServiceIP", kAnswers, kMay,
         [](Outputs& out) { out.text = roles().GetMasterInternalServiceIP(); }},
        {"SysConfReaderImpl::GetStandbyInternalServiceIP", kAnswers, kMay,
         [](Outputs& out) { out.text = roles().GetStandbyInternalServiceIP(); }},
        {"SysConfReaderImpl::GetProductName", kAnswers, kMay,
         [](Outputs& out) { out.text = roles().GetProductName(); }},
        {"SysConfReaderImpl::GetInternalIp", kAnswers, kMay,
         [](Outputs& out) { out.text = roles().GetInternalIp(roleAddresses()); }},
        {"SysConfReaderImpl::GetNodeListFilePath", kAnswers, kMay,
         [](Outputs& out) { out.text = roles().GetNodeListFilePath(); }},
        {"SysConfReaderImpl::GetManagerNodeListFilePath", kAnswers, kMay,
         [](Outputs& out) { out.text = roles().GetManagerNodeListFilePath(); }},
        {"SysConfReaderImpl::GetDLLName", kAnswers, kMay,
         [](Outputs& out) { out.text = roles().GetDLLName(kDatabase); }},
        {"SysConfReaderImpl::Instance", kChanges, kMay,
         [](Outputs& out) { out.number = SysConfReaderImpl::Instance() != nullptr ? 1 : 0; },
         &destroyAll},
        {"SysConfReaderImpl::Reload", kChanges, kMay, [](Outputs&) { roles().Reload(); }},
        {"SysConfReaderImpl::Destory", kChanges, kNever,
         [](Outputs&) { SysConfReaderImpl::Destory(); }},
        {"SysConfReaderImpl::Init_i", kChanges, kMay, [](Outputs&) { roles().Init_i(); }},
        {"SysConfReaderImpl::InitConsumer", kChanges, kMay,
         [](Outputs&) { roles().InitConsumer(); }},
        {"SysConfReaderImpl::InitLocalNodeId", kChanges, kNever,
         [](Outputs&) { roles().InitLocalNodeId(); }},
        {"SysConfReaderImpl::InitLocalIp", kChanges, kNever,
         [](Outputs&) { roles().InitLocalIp(); }},
        {"SysConfReaderImpl::InitAssignedToTenancy", kChanges, kNever,
         [](Outputs&) { roles().InitAssignedToTenancy(); }},
        {"SysConfReaderImpl::InitMasterAndStandyNodeId", kChanges, kNever,
         [](Outputs&) { roles().InitMasterAndStandyNodeId(); }},
        {"SysConfReaderImpl::InitMasterAndStandyIp", kChanges, kNever,
         [](Outputs&) { roles().InitMasterAndStandyIp(); }},

        {"SysConfReader_i::GetLocalInternalServiceIP", kAnswers, kMay,
         [](Outputs& out) { out.text = facade().GetLocalInternalServiceIP(); }},
        {"SysConfReader_i::GetMasterInternalServiceIP", kAnswers, kMay,
         [](Outputs& out) { out.text = facade().GetMasterInternalServiceIP(); }},
        {"SysConfReader_i::GetStandbyInternalServiceIP", kAnswers, kMay,
         [](Outputs& out) { out.text = facade().GetStandbyInternalServiceIP(); }},
        {"SysConfReader_i::GetProductName", kAnswers, kMay,
         [](Outputs& out) { out.text = facade().GetProductName(); }},
        {"SysConfReader_i::GetProductName", kChanges, kMay,
         [](Outputs& out) { out.text = facade().GetProductName(); }, &destroyAll},
        {"SysConfReader_i::Instance", kChanges, kMay,
         [](Outputs& out) { out.number = SysConfReader_i::Instance() != nullptr ? 1 : 0; },
         &destroyAll},
        {"SysConfReader_i::Destory", kChanges, kNever,
         [](Outputs&) { SysConfReader_i::Destory(); }},

        {"SysConfReaderEventProcessCB", kChanges, kNever,
         [](Outputs& out) {
             out.number = SysConfReaderEventProcessCB(kEvent, kNothing, kNothing, &roles());
         }},
        {"SysConfReaderEventProcessCB", kChanges, kNever,
         [](Outputs& out) {
             out.number = SysConfReaderEventProcessCB(kEvent, kNothing, kNothing, &roles());
         },
         [] {
             destroyAll();
             SysConfReaderImpl::Instance();
         }},
    };
    return table;
}

Answers answers() {
    Answers all;
    for (const Operation& operation : operations()) {
        if (operation.effect == Effect::Answers) {
            Outputs outputs;
            std::string answer;
            try {
                operation.call(outputs);
                answer = outputs.told();
            } catch (const std::exception& thrown) {
                answer = std::string("throws ") + thrown.what();
            }
            all[operation.symbol] += answer + "\n";
        }
    }
    return all;
}

std::string differences(const Answers& some, const Answers& others) {
    std::string all;
    for (const auto& [symbol, answer] : some) {
        const std::string& other = others.at(symbol);
        if (answer != other) {
            all.append(symbol).append(": ").append(answer).append("instead of ").append(other);
        }
    }
    return all;
}

void createAll() {
    SysConfReader::Instance();
    SysConfReaderImpl::Instance();
    SysConfReader_i::Instance();
}

void reloadAll() {
    createAll();
    roles().Reload();
}

void destroyAll() {
    SysConfReader_i::Destory();
    SysConfReader::Destory();
}

std::string appConfig(const std::string& mark) {
    const std::string text = "\"" + mark + kTail + "\"";
    Json::Value root;
    Json::Value& entry = root["databases"][kDatabase][0U];
    entry["accessPort"] = 3000;
    for (const char* key : {"type", "user", "serviceName", "passwd", "serverName", "accessHost"}) {
        entry[key] = key + text;
    }
    entry["instanceExt"]["lib"] = "lib" + text;
    root["databases"]["another database"] = Json::Value();
    Json::Value& process = root["processes"]["p1"];
    process["nodeId"] = "node-of-this-process-" + mark;
    process["IR"]["ip"] = "maintenance" + text;
    process["local"]["ip"] = "local" + text;
    process["local"]["port"] = 4000;
    process["wss"]["ip"] = "wss" + text;
    process["wss"]["port"] = 5000;
    process["CORBA"]["port"] = 6000;
    process["CORBA_SSL"]["port"] = 7000;
    return support::jsonText(root);
}

std::string nodeList(const std::string& mark) {
    const std::string text = mark + kTail;
    Json::Value root;
    Json::Value& own = root["nodeList"]["node-of-this-process-" + mark];
    own["assignedToTenancy"] = "tenancy" + text;
    own["extAttr"]["hostType"] = mark == "standby" ? mark : "master";
    own["extAttr"]["HOSTID"] = "host" + text;
    const auto add = [](Json::Value& node, const std::string& address,
                        std::initializer_list<const char*> tags) {
        Json::Value entry;
        entry["IP"] = address;
        for (const char* tag : tags) {
            entry["usage"].append(tag);
        }
        node["IPAddresses"].append(entry);
    };
    add(own, "1. " + text, {"maintenance", "northbound"});
    add(own, "2. " + text, {"internal_service", "northbound7", "southbound"});
    add(own, "3. " + text, {"southbound12", "Service2"});
    add(own, "4. " + text, {kTag.c_str(), "Service"});
    Json::Value& source = root["nodeList"]["the-node-that-it-may-stand-in-for"];
    source["extAttr"]["HOSTID"] = "host of the source" + text;
    add(source, kSourceAddress, {"service"});
    add(source, "5. " + text, {"northbound", "southbound2", kTag.c_str()});
    return support::jsonText(root);
}

std::string managerNodeList(const std::string& mark) {
    const std::string text = mark + kTail;
    Json::Value root;
    for (const char* role : {"master", "standby"}) {
        Json::Value& node = root["nodeList"][std::string("manager-node-as-") + role];
        node["assignedToTenancy"] = "tenancy" + text;
        node["extAttr"]["hostType"] = role;
        node["extAttr"]["domain_node_type"] =
            std::string("ACCESS_") + (role[0] == 'm' ? "Master" : "Backup");
        node[kField] = "any" + text;
        Json::Value entry;
        entry["IP"] = role + text;
        entry["usage"].append("internal_service");
        entry["usage"].append(kTag);
        node["IPAddresses"].append(entry);
    }
    return support::jsonText(root);
}

void writeFiles(support::Deployment& files, const std::string& mark) {
    files.appConfig(appConfig(mark))
        .nodeList(nodeList(mark))
        .managerNodeList(managerNodeList(mark));
}

std::vector<std::filesystem::path> paths(const support::Deployment& files) {
    return {files.appConfigPath(), files.nodeListPath(), files.managerNodeListPath()};
}

} // namespace faults
