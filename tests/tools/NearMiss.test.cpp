// SPDX-License-Identifier: Apache-2.0

#include "explain/NearMiss.h"

#include <gtest/gtest.h>
#include <json/reader.h>

#include <memory>

namespace {

using namespace sysconfctl;

struct TagRow {
    const char* tag;
    const char* asked;
    bool family;
    const char* meant;
};

TEST(NearMiss, OfATag_IsTheTagAskedFor) {
    const TagRow rows[] = {
        {"soutbound3", "southbound", true, "southbound3"},
        {"suothbound", "southbound", true, "southbound"},
        {"southbound-2", "southbound", true, "southbound2"},
        {"southbound1", "southbound", true, "southbound"},
        {"nothbound", "northbound", true, "northbound"},
        {"nothbound", "southbound", true, ""},
        {"northbound", "southbound", true, ""},
        {"southbound1025", "southbound", true, ""},
        {"servcie", "service", false, "service"},
        {"servcie2", "service", false, ""},
        {"servcie2", "service2", false, "service2"},
        {"service3", "service2", false, ""},
        {"service", "service2", false, ""},
        {"maintenence", "maintenance", false, "maintenance"},
        {"internal-service", "internal_service", false, "internal_service"},
        {"bakcup", "backup", false, "backup"},
        {"backup2", "backup1", false, ""},
        {"db", "ha", false, ""},
    };
    for (const TagRow& row : rows) {
        EXPECT_EQ(meantTag(row.tag, {{row.asked, row.family}}), row.meant)
            << row.tag << ' ' << row.asked;
    }
}

Json::Value parsed(const std::string& text) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value value;
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) << text;
    return value;
}

struct MemberRow {
    const char* text;
    located::Path path;
    const char* found;
    bool misplaced;
};

TEST(NearMiss, OfAMember_IsFoundInTheObjectOrAroundIt) {
    const MemberRow rows[] = {
        {R"({"p": {"wss": {"prot": 1}}})", {"p", "wss", "port"}, "/p/wss/prot", false},
        {R"({"p": {"WSS": {"port": 1}}})", {"p", "wss", "port"}, "/p/WSS", false},
        {R"({"p": {"IR": {"IP": 1}}})", {"p", "IR", "ip"}, "/p/IR/IP", false},
        {R"({"p": {"wss": {}, "port": 1}})", {"p", "wss", "port"}, "/p/port", true},
        {R"({"p": {"port": 1}})", {"p", "wss", "port"}, "/p/port", true},
        {R"({"p": {"CORBA": {"port": 1}}})", {"p", "CORBA_SSL", "port"}, "", false},
        {R"({"p": {"IR": {"id": 1}}})", {"p", "IR", "ip"}, "", false},
        {R"({"d": [{"accesHost": 1}]})", {"d", "0", "accessHost"}, "/d/0/accesHost", false},
        {R"({"n": {"extAttr": {"tenancy": 1}}})", {"n", "tenancy"}, "/n/extAttr/tenancy", true},
        {R"({"p": 5})", {"p", "wss", "port"}, "", false},
        {"[]", {"p", "nodeId"}, "", false},
    };
    for (const MemberRow& row : rows) {
        const auto miss = misspeltMember(parsed(row.text), row.path);
        EXPECT_EQ(miss ? located::pointer(miss->path) : "", row.found) << row.text;
        EXPECT_EQ(miss && miss->misplaced, row.misplaced) << row.text;
    }
}

TEST(NearMiss, OfSeveralNames_IsTheOneThatDiffersLeast) {
    EXPECT_EQ(nearestName("Core", {"cord", "core"}), "core");
    EXPECT_EQ(nearestName("alarm-2", {"alarm-1", "topology-1"}), "alarm-1");
    EXPECT_EQ(nearestName("alarm-2", {"topology-1"}), "");
}

} // namespace
