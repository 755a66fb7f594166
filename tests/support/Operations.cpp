// SPDX-License-Identifier: Apache-2.0
#include "support/Operations.h"

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReaderStatus.h"
#include "SysConfReader_i.h"
#include "support/Deployment.h"
#include "support/SampleTexts.h"

#include <exception>

namespace operations {

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using Quarncommon::SysConfReaderStatus;

// Longer than the inline buffer of a string, so that each copy allocates.
const std::string kTail = " -- a text that is long enough to need memory";

const std::string kEvent = "SysConfigEvent";
const std::string kEmpty;

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

template <typename Class>
void create(Outputs& out) {
    out.number = Class::Instance() != nullptr ? 1 : 0;
}

void deliver(Outputs& out) {
    out.number = SysConfReaderEventProcessCB(kEvent, kEmpty, kEmpty, &roles());
}

void leaveRolesOnly() {
    destroyAll();
    SysConfReaderImpl::Instance();
}

void addReaderQueries(std::vector<Operation>& table) {
    for (const queries::Query<SysConfReader>& query : queries::all<SysConfReader>()) {
        table.push_back({"SysConfReader::" + std::string(query.name), Effect::Answers,
                         query.readLocks > 0 ? Locks::Read : Locks::None, query.shortage,
                         [&query](Outputs& out) { query.call(reader(), arguments(), out); }});
    }
}

void addRoleQueries(std::vector<Operation>& table) {
    const auto add = [&](const char* name, Locks locks, void (*call)(Outputs&)) {
        table.push_back({name, Effect::Answers, locks, Shortage::MayThrow, call});
    };
    add("SysConfReaderImpl::GetLocalInternalServiceIP", Locks::Read,
        [](Outputs& out) { out.text = roles().GetLocalInternalServiceIP(); });
    add("SysConfReaderImpl::GetMasterInternalServiceIP", Locks::Read,
        [](Outputs& out) { out.text = roles().GetMasterInternalServiceIP(); });
    add("SysConfReaderImpl::GetStandbyInternalServiceIP", Locks::Read,
        [](Outputs& out) { out.text = roles().GetStandbyInternalServiceIP(); });
    add("SysConfReaderImpl::GetProductName", Locks::Read,
        [](Outputs& out) { out.text = roles().GetProductName(); });
    add("SysConfReaderImpl::GetInternalIp", Locks::None,
        [](Outputs& out) { out.text = roles().GetInternalIp(roleAddresses()); });
    add("SysConfReaderImpl::GetNodeListFilePath", Locks::None,
        [](Outputs& out) { out.text = roles().GetNodeListFilePath(); });
    add("SysConfReaderImpl::GetManagerNodeListFilePath", Locks::None,
        [](Outputs& out) { out.text = roles().GetManagerNodeListFilePath(); });
    add("SysConfReaderImpl::GetDLLName", Locks::None,
        [](Outputs& out) { out.text = roles().GetDLLName(arguments().database); });
    add("SysConfReader_i::GetLocalInternalServiceIP", Locks::Read,
        [](Outputs& out) { out.text = facade().GetLocalInternalServiceIP(); });
    add("SysConfReader_i::GetMasterInternalServiceIP", Locks::Read,
        [](Outputs& out) { out.text = facade().GetMasterInternalServiceIP(); });
    add("SysConfReader_i::GetStandbyInternalServiceIP", Locks::Read,
        [](Outputs& out) { out.text = facade().GetStandbyInternalServiceIP(); });
    add("SysConfReader_i::GetProductName", Locks::Read,
        [](Outputs& out) { out.text = facade().GetProductName(); });
}

void addChanges(std::vector<Operation>& table) {
    const auto add = [&](const char* name, Locks locks, Shortage shortage, void (*call)(Outputs&),
                         void (*prepare)() = nullptr) {
        table.push_back({name, Effect::Changes, locks, shortage, call, prepare});
    };
    constexpr Shortage kNever = Shortage::NeverThrows;
    constexpr Shortage kMay = Shortage::MayThrow;
    add("SysConfReader::Instance (nothing exists)", Locks::Write, kMay, &create<SysConfReader>,
        &destroyAll);
    add("SysConfReader::Instance (roles exist)", Locks::Write, kMay, &create<SysConfReader>,
        &leaveRolesOnly);
    add("SysConfReader::Reload", Locks::Write, kMay, [](Outputs&) { reader().Reload(); });
    add("SysConfReader::init_i", Locks::None, kMay, [](Outputs&) { reader().init_i(); });
    add("SysConfReader::Destory", Locks::Write, kNever, [](Outputs&) { SysConfReader::Destory(); });
    add(
        "SysConfReader::Destory (no roles)", Locks::Write, kMay,
        [](Outputs&) { SysConfReader::Destory(); }, [] { SysConfReaderImpl::Destory(); });
    add(
        "SysConfReader::Destory (nothing exists)", Locks::Write, kMay,
        [](Outputs&) { SysConfReader::Destory(); }, &destroyAll);

    add("SysConfReaderImpl::Instance (nothing exists)", Locks::Write, kMay,
        &create<SysConfReaderImpl>, &destroyAll);
    add("SysConfReaderImpl::Reload", Locks::Write, kMay, [](Outputs&) { roles().Reload(); });
    add("SysConfReaderImpl::Destory", Locks::Write, kNever,
        [](Outputs&) { SysConfReaderImpl::Destory(); });
    add(
        "SysConfReaderImpl::Destory (nothing exists)", Locks::Write, kNever,
        [](Outputs&) { SysConfReaderImpl::Destory(); }, &destroyAll);
    add("SysConfReaderImpl::Init_i", Locks::None, kMay, [](Outputs&) { roles().Init_i(); });
    add("SysConfReaderImpl::InitConsumer", Locks::None, kMay,
        [](Outputs&) { roles().InitConsumer(); });
    add("SysConfReaderImpl::InitLocalNodeId", Locks::None, kNever,
        [](Outputs&) { roles().InitLocalNodeId(); });
    add("SysConfReaderImpl::InitLocalIp", Locks::None, kNever,
        [](Outputs&) { roles().InitLocalIp(); });
    add("SysConfReaderImpl::InitAssignedToTenancy", Locks::None, kNever,
        [](Outputs&) { roles().InitAssignedToTenancy(); });
    add("SysConfReaderImpl::InitMasterAndStandyNodeId", Locks::None, kNever,
        [](Outputs&) { roles().InitMasterAndStandyNodeId(); });
    add("SysConfReaderImpl::InitMasterAndStandyIp", Locks::None, kNever,
        [](Outputs&) { roles().InitMasterAndStandyIp(); });

    add(
        "SysConfReader_i::GetProductName (nothing exists)", Locks::Write, kMay,
        [](Outputs& out) { out.text = facade().GetProductName(); }, &destroyAll);
    add("SysConfReader_i::Instance (nothing exists)", Locks::Write, kMay, &create<SysConfReader_i>,
        &destroyAll);
    add("SysConfReader_i::Destory", Locks::Write, kNever,
        [](Outputs&) { SysConfReader_i::Destory(); });
    add(
        "SysConfReader_i::Destory (nothing exists)", Locks::Write, kNever,
        [](Outputs&) { SysConfReader_i::Destory(); }, &destroyAll);

    add("SysConfReaderEventProcessCB", Locks::Write, kNever, &deliver);
    add("SysConfReaderEventProcessCB (no reader)", Locks::Write, kNever, &deliver, &leaveRolesOnly);
}

void ignoreLoad(unsigned long long /*generation*/, void* /*userData*/) {}

/// Their answers change with each load, so they are none of those that stay the same.
void addStatus(std::vector<Operation>& table) {
    const auto add = [&](const char* name, void (*call)(Outputs&)) {
        table.push_back({name, Effect::Changes, Locks::None, Shortage::NeverThrows, call});
    };
    add("SysConfReaderStatus::read", [](Outputs&) { SysConfReaderStatus::read(); });
    add("SysConfReaderStatus::generation", [](Outputs&) { SysConfReaderStatus::generation(); });
    add("SysConfReaderStatus::text (outcome)",
        [](Outputs&) { SysConfReaderStatus::text(SysConfReaderStatus::Outcome::Loaded); });
    add("SysConfReaderStatus::text (subscription)",
        [](Outputs&) { SysConfReaderStatus::text(SysConfReaderStatus::Subscription::None); });
    add("SysConfReaderStatus::subscribe", [](Outputs&) {
        SysConfReaderStatus::unsubscribe(SysConfReaderStatus::subscribe(&ignoreLoad, nullptr));
    });
    add("SysConfReaderStatus::unsubscribe", [](Outputs&) { SysConfReaderStatus::unsubscribe(0); });
    add("SysConfReaderStatus::openDescriptor", [](Outputs&) {
        SysConfReaderStatus::closeDescriptor(SysConfReaderStatus::openDescriptor());
    });
    add("SysConfReaderStatus::closeDescriptor",
        [](Outputs&) { SysConfReaderStatus::closeDescriptor(-1); });
}

} // namespace

const queries::Arguments& arguments() {
    static const queries::Arguments arguments{
        "a database with a long name",
        0,
        "a tag that the caller asks for",
        "northbound",
        "a member of the nodes by which they are selected",
        "an",
    };
    return arguments;
}

Outputs outputs() {
    Outputs outputs;
    outputs.tags = {arguments().tag, "service"};
    return outputs;
}

const std::vector<Operation>& all() {
    static const std::vector<Operation> table = [] {
        std::vector<Operation> rows;
        addReaderQueries(rows);
        addRoleQueries(rows);
        addChanges(rows);
        addStatus(rows);
        return rows;
    }();
    return table;
}

Answers answers() {
    Answers all;
    for (const Operation& operation : operations::all()) {
        if (operation.effect == Effect::Answers) {
            Outputs out = outputs();
            try {
                operation.call(out);
                all[operation.name] = out.toText();
            } catch (const std::exception& thrown) {
                all[operation.name] = std::string("throws ") + thrown.what();
            }
        }
    }
    return all;
}

Answers answersFromFiles() {
    Answers all = answers();
    all.erase("SysConfReader::GetAppRoot");
    all.erase("SysConfReaderImpl::GetNodeListFilePath");
    all.erase("SysConfReaderImpl::GetManagerNodeListFilePath");
    return all;
}

std::string differences(const Answers& some, const Answers& others) {
    std::string all;
    for (const auto& [name, answer] : some) {
        const std::string& other = others.at(name);
        if (answer != other) {
            all.append(name).append(": ").append(answer).append(" instead of ").append(other);
            all.push_back('\n');
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

void prepare(const Operation& operation) {
    createAll();
    if (operation.prepare != nullptr) {
        operation.prepare();
    }
}

std::string appConfig(const std::string& mark) {
    const std::string text = "\"" + mark + kTail + "\"";
    Json::Value root;
    Json::Value& entry = root["databases"][arguments().database][0U];
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
    add(own, "4. " + text, {arguments().tag.c_str(), "Service"});
    Json::Value& source = root["nodeList"]["the-node-that-it-may-stand-in-for"];
    source["extAttr"]["HOSTID"] = "host of the source" + text;
    add(source, kSourceAddress, {"service"});
    add(source, "5. " + text, {"northbound", "southbound2", arguments().tag.c_str()});
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
        node[arguments().field] = "any" + text;
        Json::Value entry;
        entry["IP"] = role + text;
        entry["usage"].append("internal_service");
        entry["usage"].append(arguments().tag);
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

} // namespace operations
