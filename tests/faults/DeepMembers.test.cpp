// SPDX-License-Identifier: Apache-2.0

#include "faults/SmallStack.h"

#include <JsonReader.h>

#include <array>
#include <filesystem>

namespace {

using faults::nested;
using faults::withMember;

class DeepMembers : public faults::SmallStackTest {
protected:
    /// Adds the value as an ignored member at every level of the three files.
    void writeWithIgnored(const std::string& value) {
        const auto added = [&](std::string text, const auto& before) {
            for (const char* name : before) {
                text = withMember(std::move(text), name, "ignored", value);
            }
            return text;
        };
        const std::array nodeListMembers = {"nodeList", "extAttr", "hostType", "IPAddresses",
                                            "usage"};
        files.appConfig(added(operations::appConfig("standby"), std::array{"processes", "IR"}));
        files.nodeList(added(operations::nodeList("standby"), nodeListMembers));
        files.managerNodeList(added(operations::managerNodeList("standby"), nodeListMembers));
    }

    operations::Answers answersOfOrdinaryFiles() {
        operations::writeFiles(files, "standby");
        return answersAfterAll();
    }
};

/// An ignored member is inside up to five containers.
constexpr std::size_t kDeepest = JsonReader::kNestingLimit - 5;

TEST_F(DeepMembers, IgnoredUpToTheLimit_AnswersOnASmallStackAreUnchanged) {
    const operations::Answers ordinary = answersOfOrdinaryFiles();
    for (const bool objects : {false, true}) {
        for (const std::size_t depth : {std::size_t{25}, std::size_t{1000}, kDeepest}) {
            SCOPED_TRACE(testing::Message() << depth << (objects ? " objects" : " arrays"));
            writeWithIgnored(nested(depth, objects));
            expectOnSmallStack(ordinary);
        }
    }
}

TEST_F(DeepMembers, IgnoredAndRefusedByTheFastReader_AnswersOnASmallStackAreUnchanged) {
    const operations::Answers ordinary = answersOfOrdinaryFiles();
    for (const char* odd : {"1e400", "99999999999999999999", "\"\\ud800\"", "\"\xff\""}) {
        SCOPED_TRACE(odd);
        writeWithIgnored("[" + std::string(odd) + "," + nested(kDeepest - 1, true) + "]");
        expectOnSmallStack(ordinary);
    }
}

TEST_F(DeepMembers, BeyondTheLimit_FilesAreUnreadableOnASmallStack) {
    operations::writeFiles(files, "standby");
    for (const auto& path : operations::paths(files)) {
        std::filesystem::remove(path);
    }
    const operations::Answers none = answersAfterAll();
    for (const std::size_t depth : {std::size_t{JsonReader::kNestingLimit}, std::size_t{100000}}) {
        for (const bool objects : {false, true}) {
            SCOPED_TRACE(testing::Message() << depth << (objects ? " objects" : " arrays"));
            writeWithIgnored(nested(depth, objects));
            expectOnSmallStack(none);
        }
    }
}

} // namespace
