#include "rules/Roles.h"
#include "rules/Json.h"

#include <gtest/gtest.h>

namespace {

using Quarncommon::rules::findMasterAndStandby;
using Quarncommon::rules::internalServiceAddress;
using Quarncommon::rules::Node;

TEST(InternalServiceAddress, EachList_FirstInternalElseLastMaintenance) {
    const struct {
        const char* name;
        const char* addresses;
        const char* expected;
    } rows[] = {
        {"first internal", R"([{"IP":"A","usage":["internal_service"]},
                               {"IP":"B","usage":["internal_service"]}])",
         "A"},
        {"internal behind maintenance", R"([{"IP":"M","usage":["maintenance"]},
                                            {"IP":"A","usage":["Internal_Service"]}])",
         "A"},
        {"last maintenance", R"([{"IP":"M","usage":["maintenance"]},
                                 {"IP":"N","usage":["MAINTENANCE"]}])",
         "N"},
        {"last maintenance without IP", R"([{"IP":"M","usage":["maintenance"]},
                                            {"usage":["maintenance"]}])",
         ""},
        {"internal without IP", R"([{"IP":"M","usage":["maintenance"]},
                                    {"usage":["internal_service"]}])",
         ""},
        {"both tags on one entry", R"([{"IP":"A","usage":["maintenance","internal_service"]}])",
         "A"},
        {"other tags", R"([{"IP":"A","usage":["service","internal_service2"]}])", ""},
        {"plain string", R"([{"IP":"A","usage":"internal_service"}])", ""},
        {"absent", "null", ""},
        {"error behind the answer", R"([{"IP":"A","usage":["internal_service"]},7])", "A"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(internalServiceAddress(Node(json(row.addresses))), row.expected) << row.name;
    }
}

TEST(FindMasterAndStandby, EachPairOfTypes_FollowsTheDecisionTable) {
    const struct {
        const char* host;
        const char* domain;
        const char* master;
        const char* standby;
    } rows[] = {
        {"master", "ACCESS_Master", "n", "-"}, {"standby", "ACCESS_Backup", "-", "n"},
        {"master", "ACCESS_Backup", "-", "-"}, {"standby", "ACCESS_Master", "-", "-"},
        {"Master", "ACCESS_Master", "-", "-"}, {"STANDBY", "ACCESS_Backup", "-", "-"},
        {"master", "access_master", "-", "-"}, {"standby", "ACCESS_backup", "-", "-"},
        {"", "ACCESS_Master", "-", "-"},       {"master", "", "-", "-"},
        {"slave", "ACCESS_Backup", "-", "-"},  {"", "", "-", "-"},
    };
    for (const auto& row : rows) {
        Json::Value list;
        Json::Value& nodes = list["nodeList"];
        nodes["n"]["extAttr"]["hostType"] = row.host;
        nodes["n"]["extAttr"]["domain_node_type"] = row.domain;
        std::string master = "-";
        std::string standby = "-";
        findMasterAndStandby(Node(list), "", master, standby);
        EXPECT_EQ(master, row.master) << row.host << ' ' << row.domain;
        EXPECT_EQ(standby, row.standby) << row.host << ' ' << row.domain;
    }
}

TEST(FindMasterAndStandby, SeveralCandidatesOfTheTenancy_GreatestIdWins) {
    Json::Value list;
    Json::Value& nodes = list["nodeList"];
    for (const char* id : {"n10", "n9", "z", "N99"}) {
        nodes[id]["extAttr"]["hostType"] = "master";
        nodes[id]["extAttr"]["domain_node_type"] = "ACCESS_Master";
        nodes[id]["assignedToTenancy"] = *id == 'z' ? "t12" : "t1";
    }
    std::string master;
    std::string standby = "kept";
    findMasterAndStandby(Node(list), "t1", master, standby);
    EXPECT_EQ(master, "n9");
    EXPECT_EQ(standby, "kept");
}

} // namespace
