// SPDX-License-Identifier: Apache-2.0
#include "FileWatch.h"
#include "OwnNode.h"
#include "SysConfReader_i.h"
#include "support/LockFaults.h"
#include "support/LocksFree.h"
#include "support/SampleQueries.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using Quarncommon::SysConfReader;
using support::FileCall;
using support::LockCall;
using support::LockCounts;

struct Seen {
    LockCounts locks;
    std::size_t mostHeld = 0;
    std::size_t heldAtOpens = 0;
    std::size_t heldAtCloses = 0;
    std::size_t opens = 0;
    std::size_t closes = 0;
};

Seen watch(const std::function<std::string()>& ask) {
    Seen seen;
    support::resetLockCounts();
    {
        const support::FileWatch files([&](FileCall call, const std::string&) {
            if (call == FileCall::Open) {
                ++seen.opens;
                seen.heldAtOpens += support::locksHeldHere().read;
            } else if (call == FileCall::Close) {
                ++seen.closes;
                seen.heldAtCloses += support::locksHeldHere().read;
            }
        });
        ask();
    }
    seen.locks = support::lockCounts();
    seen.mostHeld = support::mostLocksHeldHere();
    return seen;
}

TEST(QueryLocks, EachQuery_HoldsItsReadLocksWhileReadingFiles) {
    support::Deployment files;
    queries::write(files, "1");
    SysConfReader::Instance();
    // Otherwise the role queries would create it, with its write lock.
    Quarncommon::SysConfReader_i::Instance();
    for (const queries::ReaderQuery& query : queries::ofReader()) {
        const Seen seen = watch([&] { return queries::ask(query); });
        EXPECT_EQ(seen.locks.read, query.readLocks) << query.name;
        EXPECT_EQ(seen.locks.unlock, query.readLocks) << query.name;
        EXPECT_EQ(seen.locks.write, 0U) << query.name;
        const std::size_t reads = query.reads == queries::Reads::Nothing ? 0 : 1;
        EXPECT_EQ(seen.opens, reads) << query.name;
        EXPECT_EQ(seen.closes, reads) << query.name;
        EXPECT_EQ(seen.heldAtOpens, reads * query.readLocks) << query.name;
        EXPECT_EQ(seen.heldAtCloses, reads * query.readLocks) << query.name;
        support::expectNoLockHeld(query.name);
    }
}

TEST(QueryLocks, ListsAbsent_OnlyTheServiceAddressLocksTwice) {
    const OwnNode node;
    SysConfReader::Instance();
    for (const queries::ReaderQuery& query : queries::ofReader()) {
        const Seen seen = watch([&] { return queries::ask(query); });
        const bool fallsBack = query.name == std::string("getLocalServiceIP");
        EXPECT_EQ(seen.locks.read, fallsBack ? 2U : query.readLocks) << query.name;
        EXPECT_EQ(seen.mostHeld, query.readLocks) << query.name << ": locks at once";
        EXPECT_EQ(seen.heldAtOpens, query.reads == queries::Reads::Nothing ? 0 : query.readLocks)
            << query.name;
        support::expectNoLockHeld(query.name);
    }
}

TEST(QueryLocks, ManagerRootUnset_LockIsTakenAndNoFileOpened) {
    const OwnNode node;
    SysConfReader::Instance();
    support::setEnvironment("TOLM_ROOT", nullptr);
    for (const queries::ReaderQuery& query : queries::reading(queries::Reads::ManagerNodeList)) {
        const Seen seen = watch([&] { return queries::ask(query); });
        EXPECT_EQ(seen.locks.read, 1U) << query.name;
        EXPECT_EQ(seen.opens, 0U) << query.name;
        support::expectNoLockHeld(query.name);
    }
}

TEST(QueryLocks, DatabaseQueriesThatThrow_ReleaseTheLock) {
    OwnNode node;
    node.files.appConfig(R"({"databases":{"db":{"accessPort":1}}})");
    SysConfReader& reader = node.reader();
    support::resetLockCounts();
    EXPECT_THROW(reader.getDBAccessPort("db", 0), Json::LogicError);
    EXPECT_THROW(reader.getDBType("db", 0), Json::LogicError);
    EXPECT_THROW(reader.getDBUserName("db", 0), Json::LogicError);
    EXPECT_THROW(reader.getDBServiceName("db", 0), Json::LogicError);
    EXPECT_THROW(reader.getDBPassword("db", 0), Json::LogicError);
    EXPECT_THROW(reader.getDBServerName("db", 0), Json::LogicError);
    EXPECT_THROW(reader.getDBAccessHost("db", 0), Json::LogicError);
    EXPECT_THROW(reader.getDBLib("db", 0), Json::LogicError);
    EXPECT_EQ(support::lockCounts().read, 8U);
    EXPECT_EQ(support::lockCounts().unlock, 8U);
    support::expectNoLockHeld("exceptions");
    for (const int error : {EAGAIN, EDEADLK, EINVAL}) {
        support::failLockCalls(LockCall::Read, error);
        errno = 0;
        EXPECT_THROW(reader.getDBLib("db", 0), Json::LogicError);
        EXPECT_EQ(errno, error);
        support::failLockCalls(LockCall::Read, 0);
        support::expectNoLockHeld("exception without the lock");
    }
}

TEST(QueryLocks, WrongTypes_ReleaseTheLock) {
    OwnNode node;
    for (const char* list : {"[]", R"({"nodeList":[]})", R"({"nodeList":{"n1":[]}})",
                             R"({"nodeList":{"n1":{"IPAddresses":[7]}}})"}) {
        node.files.nodeList(list).managerNodeList(list);
        SysConfReader::Instance();
        Quarncommon::SysConfReader_i::Instance();
        for (const queries::ReaderQuery& query : queries::ofReader()) {
            const Seen seen = watch([&] { return queries::ask(query); });
            EXPECT_EQ(seen.locks.read, seen.locks.unlock) << query.name << ' ' << list;
            support::expectNoLockHeld(query.name);
        }
    }
}

} // namespace
