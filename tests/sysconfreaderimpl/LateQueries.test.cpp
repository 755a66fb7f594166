// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "support/Deployment.h"
#include "support/EventLibrary.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;

std::vector<std::string> answers() {
    SysConfReader& reader = *SysConfReader::Instance();
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    roles.Reload();
    std::map<std::string, std::string> byTag;
    reader.getLocalNodeIPs(byTag);
    std::list<std::string> listed;
    reader.getIPAddresses("assignedToTenancy", "", listed);
    std::string all;
    for (const auto& [tag, address] : byTag) {
        all += tag + '=' + address + ' ';
    }
    for (const std::string& address : listed) {
        all += address + ' ';
    }
    return {all,
            reader.getLocalNorthIP(),
            reader.getLocalSouthIP(),
            reader.getLocalIPByUsage("a tag of more than fifteen characters"),
            reader.getLocalServiceIP(),
            reader.getFloatNodeId(),
            roles.GetLocalInternalServiceIP(),
            roles.GetMasterInternalServiceIP(),
            roles.GetProductName()};
}

/// Never destroyed. Null in the process that does not check.
const std::vector<std::string>* g_expected = nullptr;

void checkAtTheEnd(int /*status*/, void* /*nothing*/) {
    if (g_expected != nullptr) {
        const int answer =
            SysConfReaderEventProcessCB("SysConfigEvent", "", "", SysConfReaderImpl::Instance());
        std::_Exit(answers() == *g_expected && answer == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
    }
}

void registerFirst(int /*number*/, char** /*arguments*/, char** /*environment*/) {
    ::on_exit(&checkAtTheEnd, nullptr);
}

/// Runs after the destructors of the shared libraries, which std::atexit would precede.
[[gnu::section(".preinit_array"),
  gnu::used]] void (*const g_registerFirst)(int, char**, char**) = &registerFirst;

[[noreturn]] void exitAndCheck() {
    g_expected = new std::vector<std::string>(answers());
    std::exit(EXIT_FAILURE);
}

TEST(ProcessEnd, QueriesAndLoadsAfterTheStaticDestructors_AnswerAsBefore) {
    const std::string node = "a-node-with-a-long-identifier";
    const std::string list = R"({"nodeList": {")" + node + R"(": {
        "assignedToTenancy": "a-tenancy-with-a-long-name",
        "extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master"},
        "IPAddresses": [
            {"IP": "fd00:0:0:0:0:0:0:1111", "usage": ["northbound", "southbound"]},
            {"IP": "fd00:0:0:0:0:0:0:2222", "usage": ["service", "southbound1024"]},
            {"IP": "fd00:0:0:0:0:0:0:3333", "usage": ["internal_service"]},
            {"IP": "fd00:0:0:0:0:0:0:4444", "usage": ["a tag of more than fifteen characters"]}
        ]}}})";
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": ")" + node + R"("}}})")
        .nodeList(list)
        .managerNodeList(list);
    support::installEventLibrary("recording");
    EXPECT_EQ(answers().at(6), "fd00:0:0:0:0:0:0:3333");
    EXPECT_EXIT(exitAndCheck(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

} // namespace
