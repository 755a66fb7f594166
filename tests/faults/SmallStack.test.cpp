// SPDX-License-Identifier: Apache-2.0

#include "faults/SmallStack.h"

namespace {

using faults::nested;
using faults::withMember;

using SmallStack = faults::SmallStackTest;

TEST_F(SmallStack, OrdinaryFiles_EveryOperationAnswers) {
    operations::writeFiles(files, "standby");
    expectAlike();
}

TEST_F(SmallStack, SixteenLevels_EveryOperationAnswers) {
    for (const bool objects : {false, true}) {
        SCOPED_TRACE(objects ? "objects" : "arrays");
        const auto levels = [&](std::size_t above) { return nested(16 - above, objects); };
        files.appConfig(
            withMember(operations::appConfig("standby"), "another database", "deep", levels(2)));
        files.nodeList(
            withMember(operations::nodeList("standby"), "IPAddresses", "deep", levels(3)));
        files.managerNodeList(
            withMember(operations::managerNodeList("standby"), "usage", "usage", levels(5)));
        expectAlike();
    }
}

TEST_F(SmallStack, WideAndDeep_EveryOperationAnswers) {
    // Sixteen levels with a hundred children each.
    std::string value = "1";
    for (int level = 0; level < 14; ++level) {
        std::string wide = "{";
        for (int child = 0; child < 100; ++child) {
            wide += "\"" + std::to_string(child) + "\":0,";
        }
        value = wide + "\"deeper\":" + value + "}";
    }
    files.appConfig(
        withMember(operations::appConfig("standby"), "another database", "deep", value));
    files.nodeList(withMember(operations::nodeList("standby"), "HOSTID", "HOSTID", value));
    files.managerNodeList(
        withMember(operations::managerNodeList("standby"), "usage", "usage", value));
    expectAlike();
}

} // namespace
