// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReaderStatus.h"
#include "support/FileCalls.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace {

namespace fs = std::filesystem;
using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using Status = Quarncommon::SysConfReaderStatus;
using Outcome = Status::Outcome;
using File = Status::File Status::Load::*;

struct FileRow {
    const char* name;
    File member;
    fs::path (support::Deployment::*path)() const;
    bool readBySysConfReader;
};

const FileRow kFiles[] = {
    {"app config", &Status::Load::appConfig, &support::Deployment::appConfigPath, true},
    {"node list", &Status::Load::nodeList, &support::Deployment::nodeListPath, true},
    {"manager node list", &Status::Load::managerNodeList, &support::Deployment::managerNodeListPath,
     false},
};

struct FaultRow {
    const char* name;
    void (*make)(const fs::path&);
    Outcome outcome;
    int error = 0;
    unsigned int line = 0;
    unsigned int column = 0;
    const char* pointer = "";
};

void replaceBy(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

void failOpens(const fs::path& path, int error) {
    support::failOpens(path, [error](std::size_t) { return error; });
}

const FaultRow kFaults[] = {
    {"none", [](const fs::path&) {}, Outcome::Loaded},
    {"missing", [](const fs::path& path) { fs::remove(path); }, Outcome::Missing, ENOENT},
    {"a file in the place of its folder", [](const fs::path& path) { failOpens(path, ENOTDIR); },
     Outcome::Missing, ENOTDIR},
    // Permissions do not stop root.
    {"not permitted", [](const fs::path& path) { failOpens(path, EACCES); }, Outcome::NotPermitted,
     EACCES},
    {"a folder",
     [](const fs::path& path) {
         fs::remove(path);
         fs::create_directory(path);
     },
     Outcome::NotRegular},
    {"a socket", [](const fs::path& path) { failOpens(path, ENXIO); }, Outcome::NotRegular, ENXIO},
    {"too large", [](const fs::path& path) { fs::resize_file(path, (1ULL << 30U) + 1); },
     Outcome::TooLarge},
    {"a link to itself", [](const fs::path& path) { failOpens(path, ELOOP); }, Outcome::Unreadable,
     ELOOP},
    {"empty", [](const fs::path& path) { replaceBy(path, ""); }, Outcome::Malformed, 0, 1, 1},
    {"a comma too many", [](const fs::path& path) { replaceBy(path, "{\n  \"a\": [1, 2,],\n}\n"); },
     Outcome::Malformed, 0, 2, 14},
    {"letters of two bytes before it",
     [](const fs::path& path) { replaceBy(path, "\n{\"\u00e4\u00f6\": \"\u00fc\" 5}"); },
     Outcome::Malformed, 0, 2, 12},
    {"cut off", [](const fs::path& path) { replaceBy(path, "{\"a\": [1,\n2"); }, Outcome::Malformed,
     0, 2, 2},
    {"a NUL byte", [](const fs::path& path) { replaceBy(path, std::string("{}\n\0", 4)); },
     Outcome::Malformed, 0, 2, 1},
    {"an array", [](const fs::path& path) { replaceBy(path, "[]"); }, Outcome::WrongType},
    {"descriptors used up", [](const fs::path& path) { failOpens(path, EMFILE); },
     Outcome::Shortage, EMFILE},
    {"failing storage",
     [](const fs::path& path) {
         support::disturbReads(path, [](std::size_t) { return support::ReadStep{EIO}; });
     },
     Outcome::Shortage, EIO},
};

void expectFile(const Status::File& file, const FaultRow& fault) {
    EXPECT_STREQ(Status::text(file.outcome), Status::text(fault.outcome));
    EXPECT_EQ(file.error, fault.error);
    EXPECT_EQ(file.line, fault.line);
    EXPECT_EQ(file.column, fault.column);
    EXPECT_STREQ(file.pointer, fault.pointer);
}

class Outcomes : public testing::Test {
protected:
    Outcomes() { writeGeneration(m_files, 1); }

    static Status loaded() {
        SysConfReader::Destory();
        SysConfReader::Instance();
        return Status::read();
    }

    support::Deployment m_files;
};

TEST_F(Outcomes, EachFaultOfEachFile_IsReported) {
    for (const FileRow& row : kFiles) {
        const fs::path path = (m_files.*row.path)();
        for (const FaultRow& fault : kFaults) {
            SCOPED_TRACE(std::string(row.name) + ": " + fault.name);
            fs::remove(path); // a folder cannot be replaced by a file
            writeGeneration(m_files, 1);
            fault.make(path);
            const Status status = loaded();
            support::failOpens(path, nullptr);
            support::disturbReads(path, nullptr);
            expectFile(status.roles.*row.member, fault);
            expectFile(status.reader.*row.member,
                       row.readBySysConfReader ? fault : FaultRow{"", nullptr, Outcome::NotRead});
            const bool shortage = fault.outcome == Outcome::Shortage;
            EXPECT_EQ(status.roles.shortage, shortage);
            EXPECT_EQ(status.reader.shortage, shortage && row.readBySysConfReader);
        }
    }
}

TEST_F(Outcomes, OfOtherFiles_AreNotAffected) {
    fs::remove(m_files.appConfigPath());
    const Status status = loaded();
    EXPECT_EQ(status.reader.nodeList.outcome, Outcome::Loaded);
    EXPECT_EQ(status.roles.nodeList.outcome, Outcome::Loaded);
    EXPECT_EQ(status.roles.managerNodeList.outcome, Outcome::Loaded);
}

TEST_F(Outcomes, LoadThatAWrongTypeEnds_DoesNotReadTheNextFile) {
    m_files.appConfig(R"({"processes": {"p1": {"wss": {"port": "5001"}}}})");
    const Status status = loaded();
    EXPECT_EQ(status.reader.appConfig.outcome, Outcome::WrongType);
    EXPECT_STREQ(status.reader.appConfig.pointer, "/processes/p1/wss/port");
    EXPECT_EQ(status.reader.nodeList.outcome, Outcome::NotRead);
    // The role reader needs the node id only.
    EXPECT_EQ(status.roles.appConfig.outcome, Outcome::Loaded);
}

TEST_F(Outcomes, WrongTypeInAnAddress_IsLocatedByItsIndexes) {
    m_files.nodeList(R"({"nodeList": {"node1": {"IPAddresses": [
        {"usage": []}, {"IP": "192.0.2.1", "usage": ["service", {}]}]}}})");
    const Status status = loaded();
    EXPECT_EQ(status.roles.nodeList.outcome, Outcome::WrongType);
    EXPECT_STREQ(status.roles.nodeList.pointer, "/nodeList/node1/IPAddresses/1/usage/1");
    EXPECT_EQ(status.reader.nodeList.outcome, Outcome::Loaded) << "it reads no addresses";
}

TEST_F(Outcomes, WrongTypeOfAManagedNode_IsLocatedByItsId) {
    m_files.managerNodeList(R"({"nodeList": {"a/b~c": {"assignedToTenancy": []}}})");
    EXPECT_STREQ(loaded().roles.managerNodeList.pointer, "/nodeList/a~1b~0c/assignedToTenancy");
}

TEST_F(Outcomes, WrongTypeInTheSearchForTheSourceNode_IsReported) {
    m_files.nodeList(R"({"nodeList": {"node1": {"extAttr": {"hostType": "standby"}},
                                      "other": {"extAttr": 7}}})");
    const Status status = loaded();
    EXPECT_EQ(status.reader.nodeList.outcome, Outcome::WrongType);
    EXPECT_STREQ(status.reader.nodeList.pointer, "/nodeList/other/extAttr");
}

TEST_F(Outcomes, PointerThatIsTooLong_EndsWithDots) {
    const std::string id(300, 'x');
    m_files.managerNodeList(R"({"nodeList": {")" + id + R"(": {"assignedToTenancy": []}}})");
    const Status status = loaded();
    const std::string pointer = status.roles.managerNodeList.pointer;
    EXPECT_EQ(pointer, "/nodeList/" + std::string(242, 'x') + "...");
    EXPECT_EQ(pointer.size() + 1, sizeof status.roles.managerNodeList.pointer);
}

TEST_F(Outcomes, FileThatFailsInOneOfSeveralReads_HasFailed) {
    support::failOpens(m_files.managerNodeListPath(),
                       [](std::size_t open) { return open == 0 ? EMFILE : 0; });
    SysConfReader::Instance();
    EXPECT_EQ(Status::read().roles.managerNodeList.outcome, Outcome::Shortage);
}

TEST_F(Outcomes, NumberOutOfRange_IsNoFaultAndHidesThePlaceOfALaterOne) {
    m_files.managerNodeList(R"({"n": 1e999, "nodeList": {}})");
    EXPECT_EQ(loaded().roles.managerNodeList.outcome, Outcome::Loaded);
    m_files.managerNodeList(R"({"n": 1e999, "nodeList": {},})");
    const Status::File file = loaded().roles.managerNodeList;
    EXPECT_EQ(file.outcome, Outcome::Malformed);
    EXPECT_EQ(file.line, 0U);
    EXPECT_EQ(file.column, 0U);
}

TEST_F(Outcomes, QueryOfAMalformedList_ChangesNothing) {
    SysConfReader::Instance();
    m_files.nodeList("{").managerNodeList("{");
    SysConfReader::Instance()->getLocalServiceIP();
    std::string id;
    SysConfReader::Instance()->getSourceNodeId(id);
    const Status status = Status::read();
    EXPECT_EQ(status.lastLoad, 2U);
    EXPECT_EQ(status.reader.nodeList.outcome, Outcome::Loaded);
}

} // namespace
