// SPDX-License-Identifier: Apache-2.0
// Files that could make a load take much more time than others of their size. The tests count the
// requested bytes instead of the time, because these are the same on every machine.

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReaderStatus.h"
#include "support/AllocationFaults.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using Status = Quarncommon::SysConfReaderStatus;
using Outcome = Status::Outcome;

std::string times(std::size_t number, const std::string& piece) {
    std::string text;
    for (std::size_t i = 0; i < number; ++i) {
        text += piece;
    }
    return text;
}

class HostileLoads : public testing::Test {
protected:
    HostileLoads() {
        writeGeneration(m_files, 1);
        SysConfReaderImpl::Instance();
        SysConfReader::Instance();
    }

    ~HostileLoads() override { SysConfReader::Destory(); }

    static std::size_t bytesOfReload() {
        const std::size_t before = support::requestedBytes();
        SysConfReader::Instance()->Reload();
        return support::requestedBytes() - before;
    }

    static std::size_t bytesOfRoleReload() {
        const std::size_t before = support::requestedBytes();
        SysConfReaderImpl::Instance()->Reload();
        return support::requestedBytes() - before;
    }

    support::Deployment m_files;
};

/// A quarter of the text is the id, three quarters are entries, the last one of the wrong type.
std::string nodeWithLongId(std::size_t size, const std::string& members) {
    return '"' + std::string(size / 4, 'x') + "\":{" + members + R"("IPAddresses":[)" +
           times(size / 4, "{},") + "7]}";
}

TEST_F(HostileLoads, WrongTypeAfterManyEntriesOfALongId_IsLocatedInLinearTime) {
    const auto bytes = [&](std::size_t size) {
        m_files.nodeList(R"({"nodeList":{"node1":{"extAttr":{"hostType":"standby"}},)" +
                         nodeWithLongId(size, "") + "}}");
        m_files.managerNodeList(R"({"nodeList":{)" + nodeWithLongId(size, R"("assignedToTenancy":"",
                "extAttr":{"hostType":"master","domain_node_type":"ACCESS_Master"},)") +
                                "}}");
        const std::size_t requested = bytesOfRoleReload();
        const Status status = Status::read();
        EXPECT_EQ(status.reader.nodeList.outcome, Outcome::WrongType);
        EXPECT_EQ(status.roles.managerNodeList.outcome, Outcome::WrongType);
        return requested;
    };
    EXPECT_LT(bytes(32000), 3 * bytes(16000));
}

TEST_F(HostileLoads, WrongTypeAfterManyDatabaseEntries_BuildsTheDatabaseOnce) {
    const auto bytes = [&](const std::string& port, Outcome outcome) {
        m_files.appConfig(R"({"databases":{"db":[0)" + times(20000, ",[]") +
                          R"(]},"processes":{"p1":{"nodeId":"node1","wss":{"port":)" + port +
                          "}}}}");
        const std::size_t requested = bytesOfReload();
        EXPECT_EQ(Status::read().reader.appConfig.outcome, outcome);
        Json::Value database;
        EXPECT_EQ(SysConfReader::Instance()->getDBInfo("db", database), 0);
        EXPECT_EQ(database.size(), 20001U);
        return requested;
    };
    const std::size_t valid = bytes("1", Outcome::Loaded);
    const std::size_t wrongType = bytes("\"1\"", Outcome::WrongType);
    EXPECT_LT(wrongType, valid + valid / 10);
}

/// The role reader's reload reads the list three times.
TEST_F(HostileLoads, MalformedListOfSeveralReads_IsParsedOnce) {
    const auto writeList = [&](const std::string& element) {
        m_files.nodeList(R"({"nodeList":[0)" + times(50000, "," + element));
    };
    writeList("1");
    const std::size_t parsed = bytesOfReload();
    const std::size_t remembered = bytesOfReload();
    EXPECT_LT(remembered, parsed / 4);
    writeList("2");
    EXPECT_LT(bytesOfRoleReload(), parsed + parsed / 2);
    const Status status = Status::read();
    for (const Status::File& file : {status.reader.nodeList, status.roles.nodeList}) {
        EXPECT_EQ(file.outcome, Outcome::Malformed);
        EXPECT_EQ(file.column, 100015U);
    }
}

} // namespace
