// Locks that fail: every operation does its work without them, leaves the error number in errno and
// unlocks nothing that it has not locked.

#include "support/LockFaults.h"
#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/LocksFree.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::LockCall;

enum class Side { Read, Write, None };

struct OperationRow {
    const char* name;
    Side side;
    /// What to do before, with all three instances existing in generation 1; null for nothing.
    void (*prepare)();
    /// The operation, when the files are of generation 2; its answer as text.
    std::function<std::string()> run;
    const char* answer;
    /// The generations of the reader's and of the role reader's answers afterwards.
    const char* after = "1/1";
};

SysConfReader& reader() {
    return *SysConfReader::Instance();
}

SysConfReaderImpl& roles() {
    return *SysConfReaderImpl::Instance();
}

SysConfReader_i& facade() {
    return *SysConfReader_i::Instance();
}

std::string text(int number) {
    return std::to_string(number);
}

std::string northboundOf(const char* prefix) {
    std::map<int, std::string> indexed;
    std::string service;
    std::string service2;
    reader().getLocalNodeIPs(prefix, indexed, service, service2);
    return text(static_cast<int>(indexed.size())) + " " + service + service2;
}

std::string joined(const std::list<std::string>& pieces) {
    std::string all;
    for (const std::string& piece : pieces) {
        all += piece + ";";
    }
    return all;
}

const std::vector<OperationRow>& operations() {
    static const std::vector<OperationRow> rows = {
        {"getLocalPort", Side::Read, nullptr, [] { return text(reader().getLocalPort()); }, "4001"},
        {"getCorbaPort", Side::Read, nullptr, [] { return text(reader().getCorbaPort()); }, "6001"},
        {"getCorbaSSLPort", Side::Read, nullptr, [] { return text(reader().getCorbaSSLPort()); },
         "7001"},
        {"GetWssPort", Side::Read, nullptr, [] { return text(reader().GetWssPort()); }, "5001"},
        {"GetWssIPAddress", Side::Read, nullptr, [] { return reader().GetWssIPAddress(); },
         "10.1.0.3"},
        {"getLocalhostIPAddress", Side::Read, nullptr,
         [] { return reader().getLocalhostIPAddress(); }, "10.1.0.2"},
        {"getMaintenanceIPAddress", Side::Read, nullptr,
         [] { return reader().getMaintenanceIPAddress(); }, "10.1.0.1"},
        {"getLocalHostTagName", Side::Read, nullptr, [] { return reader().getLocalHostTagName(); },
         "host1-1"},
        {"getFloatNodeId", Side::Read, nullptr, [] { return reader().getFloatNodeId(); }, "node1"},
        {"getDBInfo", Side::Read, nullptr,
         [] {
             Json::Value info;
             const int result = reader().getDBInfo("db", info);
             return text(result) + info[0]["type"].asString();
         },
         "0type1"},
        {"getDBInfo of an unknown name", Side::Read, nullptr,
         [] {
             Json::Value info;
             return text(reader().getDBInfo("none", info));
         },
         "-1"},
        {"getAllDBInfo", Side::Read, nullptr,
         [] {
             std::map<std::string, Json::Value> all;
             const int result = reader().getAllDBInfo(all);
             return text(result) + all.begin()->first;
         },
         "0db"},
        {"getDBAccessPort", Side::Read, nullptr,
         [] { return text(reader().getDBAccessPort("db", 0)); }, "3001"},
        {"getDBType", Side::Read, nullptr, [] { return reader().getDBType("db", 0); }, "type1"},
        {"getDBUserName", Side::Read, nullptr, [] { return reader().getDBUserName("db", 0); },
         "user1"},
        {"getDBServiceName", Side::Read, nullptr, [] { return reader().getDBServiceName("db", 0); },
         "serviceName1"},
        {"getDBPassword", Side::Read, nullptr, [] { return reader().getDBPassword("db", 0); },
         "passwd1"},
        {"getDBServerName", Side::Read, nullptr, [] { return reader().getDBServerName("db", 0); },
         "serverName1"},
        {"getDBAccessHost", Side::Read, nullptr, [] { return reader().getDBAccessHost("db", 0); },
         "accessHost1"},
        {"getDBLib", Side::Read, nullptr, [] { return reader().getDBLib("db", 0); }, "lib1"},
        {"getLocalIPByUsage", Side::Read, nullptr,
         [] { return reader().getLocalIPByUsage("Internal_Service"); }, "10.2.1.2"},
        {"getLocalMaintenanceIP", Side::Read, nullptr,
         [] { return reader().getLocalMaintenanceIP(); }, "10.2.1.1"},
        {"getLocalServiceIP", Side::Read, nullptr, [] { return reader().getLocalServiceIP(); },
         "10.2.1.3"},
        {"getLocalService2IP", Side::Read, nullptr, [] { return reader().getLocalService2IP(); },
         ""},
        {"getLocalSouthIP", Side::Read, nullptr, [] { return reader().getLocalSouthIP(); },
         "10.2.1.3"},
        {"getPFType", Side::Read, nullptr, [] { return text(reader().getPFType()); }, "0"},
        {"getIPAddresses", Side::Read, nullptr,
         [] {
             std::list<std::string> addresses;
             const int result = reader().getIPAddresses("assignedToTenancy", "ten", addresses);
             return text(result) + " " + joined(addresses);
         },
         "0 20.2.1.1;20.2.2.1;"},
        {"getAllFloatIP", Side::Read, nullptr,
         [] {
             std::map<std::string, std::set<std::string>> all;
             const int result = reader().getAllFloatIP({"internal_service"}, all);
             return text(result) + *all["m2"].begin();
         },
         "020.2.2.1"},
        {"GetMasterInternalServiceIP of the reader", Side::Read, nullptr,
         [] { return reader().GetMasterInternalServiceIP(); }, "20.1.1.1"},
        {"GetStandbyInternalServiceIP of the reader", Side::Read, nullptr,
         [] { return reader().GetStandbyInternalServiceIP(); }, "20.1.2.1"},
        {"GetLocalInternalServiceIP", Side::Read, nullptr,
         [] { return roles().GetLocalInternalServiceIP(); }, "10.1.1.2"},
        {"GetMasterInternalServiceIP", Side::Read, nullptr,
         [] { return roles().GetMasterInternalServiceIP(); }, "20.1.1.1"},
        {"GetStandbyInternalServiceIP", Side::Read, nullptr,
         [] { return roles().GetStandbyInternalServiceIP(); }, "20.1.2.1"},
        {"GetProductName", Side::Read, nullptr, [] { return roles().GetProductName(); },
         "tenancy1"},
        {"GetLocalInternalServiceIP of the facade", Side::Read, nullptr,
         [] { return facade().GetLocalInternalServiceIP(); }, "10.1.1.2"},
        {"GetMasterInternalServiceIP of the facade", Side::Read, nullptr,
         [] { return facade().GetMasterInternalServiceIP(); }, "20.1.1.1"},
        {"GetStandbyInternalServiceIP of the facade", Side::Read, nullptr,
         [] { return facade().GetStandbyInternalServiceIP(); }, "20.1.2.1"},
        {"GetProductName of the facade", Side::Read, nullptr,
         [] { return facade().GetProductName(); }, "tenancy1"},

        {"SysConfReader::Instance", Side::Write, [] { SysConfReader::Destory(); },
         [] { return SysConfReader::Instance() != nullptr ? "made" : ""; }, "made", "2/2"},
        {"SysConfReader::Instance beside a role reader", Side::Write,
         [] {
             SysConfReader::Destory();
             SysConfReaderImpl::Instance();
         },
         [] { return SysConfReader::Instance() != nullptr ? "made" : ""; }, "made", "2/1"},
        {"SysConfReader::Reload", Side::Write, nullptr,
         [] {
             reader().Reload();
             return "";
         },
         "", "2/1"},
        {"SysConfReader::Destory", Side::Write, nullptr,
         [] {
             SysConfReader::Destory();
             return "";
         },
         "", "2/2"},
        {"SysConfReader::Destory of nothing", Side::Write, [] { SysConfReader::Destory(); },
         [] {
             SysConfReader::Destory();
             return "";
         },
         "", "2/2"},
        {"SysConfReaderImpl::Instance", Side::Write, [] { SysConfReaderImpl::Destory(); },
         [] { return SysConfReaderImpl::Instance() != nullptr ? "made" : ""; }, "made", "1/2"},
        {"SysConfReaderImpl::Reload", Side::Write, nullptr,
         [] {
             roles().Reload();
             return "";
         },
         "", "2/2"},
        {"SysConfReaderImpl::Destory", Side::Write, nullptr,
         [] {
             SysConfReaderImpl::Destory();
             return "";
         },
         "", "1/2"},
        {"SysConfReaderImpl::Destory of nothing", Side::Write, [] { SysConfReaderImpl::Destory(); },
         [] {
             SysConfReaderImpl::Destory();
             return "";
         },
         "", "1/2"},
        {"SysConfReader_i::Instance", Side::Write, [] { SysConfReader_i::Destory(); },
         [] { return SysConfReader_i::Instance() != nullptr ? "made" : ""; }, "made", "1/2"},
        {"SysConfReader_i::Destory", Side::Write, nullptr,
         [] {
             SysConfReader_i::Destory();
             return "";
         },
         "", "1/2"},
        {"SysConfReader_i::Destory of nothing", Side::Write, [] { SysConfReader_i::Destory(); },
         [] {
             SysConfReader_i::Destory();
             return "";
         },
         "", "1/2"},

        {"GetAppRoot", Side::None, nullptr,
         [] { return std::filesystem::path(reader().GetAppRoot()).filename().string(); }, "app"},
        {"getSourceNodeId", Side::None, nullptr,
         [] {
             std::string sourceNodeId = "none";
             reader().getSourceNodeId(sourceNodeId);
             return sourceNodeId;
         },
         "none"},
        {"getLocalNodeIPs by number", Side::None, nullptr, [] { return northboundOf("north"); },
         "0 10.2.1.3"},
        {"getLocalNodeIPs by tag", Side::None, nullptr,
         [] {
             std::map<std::string, std::string> byTag;
             reader().getLocalNodeIPs(byTag);
             return byTag["service"];
         },
         "10.2.1.3"},
        {"getLocalNorthIP", Side::None, nullptr, [] { return reader().getLocalNorthIP(); },
         "10.2.1.3"},
        {"GetNodeListFilePath", Side::None, nullptr,
         [] { return std::filesystem::path(roles().GetNodeListFilePath()).filename().string(); },
         "nodelist.json"},
        {"GetManagerNodeListFilePath", Side::None, nullptr,
         [] {
             return std::filesystem::path(roles().GetManagerNodeListFilePath()).filename().string();
         },
         "nodelists.json"},
        {"GetDLLName", Side::None, nullptr, [] { return roles().GetDLLName("x"); }, "libx.so"},
        {"GetInternalIp", Side::None, nullptr,
         [] { return roles().GetInternalIp(Json::Value(Json::arrayValue)); }, ""},
        {"Instance of existing ones", Side::None, nullptr,
         [] {
             SysConfReader::Instance();
             SysConfReaderImpl::Instance();
             SysConfReader_i::Instance();
             return "";
         },
         ""},
    };
    return rows;
}

constexpr int kErrors[] = {EAGAIN, EDEADLK, EINVAL};

/// What a call did to its caller's errno and to the locks.
struct Outcome {
    std::string answer;
    int error = 0;
    support::LockCounts counts;
    std::string after;
};

std::string generations() {
    return text(reader().getLocalPort() - 4000) + "/" + roles().GetProductName().substr(7);
}

/// Runs the operation from a fresh start, with `fault` set up around the operation alone.
Outcome outcome(Deployment& deployment, const OperationRow& row, void (*fault)(int), int error) {
    SysConfReader_i::Destory();
    SysConfReader::Destory();
    writeGeneration(deployment, 1);
    SysConfReader::Instance();
    SysConfReader_i::Instance();
    if (row.prepare != nullptr) {
        row.prepare();
    }
    writeGeneration(deployment, 2);
    support::resetLockCounts();
    Outcome outcome;
    fault(error);
    errno = 0;
    outcome.answer = row.run();
    outcome.error = errno;
    fault(0);
    outcome.counts = support::lockCounts();
    outcome.after = generations();
    return outcome;
}

/// Runs every operation that takes a lock on one of those sides under the fault.
void expectWorksInSpiteOf(void (*fault)(int), std::initializer_list<Side> sides) {
    Deployment deployment;
    int rows = 0;
    for (const OperationRow& row : operations()) {
        if (std::find(sides.begin(), sides.end(), row.side) == sides.end()) {
            continue;
        }
        for (const int error : kErrors) {
            SCOPED_TRACE(testing::Message() << row.name << ", error " << error);
            const Outcome outcome = ::outcome(deployment, row, fault, error);
            EXPECT_EQ(outcome.answer, row.answer);
            EXPECT_EQ(outcome.error, error);
            EXPECT_EQ(outcome.after, row.after);
            EXPECT_EQ(outcome.counts.read + outcome.counts.write, outcome.counts.unlock);
            support::expectNoLockHeld();
            ++rows;
        }
    }
    EXPECT_GT(rows, 0);
}

TEST(LockFaults, None_EveryOperationLeavesErrnoAndLocksInOrder) {
    Deployment deployment;
    for (const OperationRow& row : operations()) {
        SCOPED_TRACE(row.name);
        const Outcome outcome = ::outcome(
            deployment, row, [](int) {}, 0);
        EXPECT_EQ(outcome.answer, row.answer);
        EXPECT_EQ(outcome.after, row.after);
        EXPECT_EQ(outcome.counts.read > 0, row.side == Side::Read);
        EXPECT_EQ(outcome.counts.write > 0, row.side == Side::Write);
        EXPECT_EQ(outcome.counts.read + outcome.counts.write, outcome.counts.unlock);
        support::expectNoLockHeld();
    }
}

TEST(LockFaults, ReadLock_EveryQueryAnswersWithoutIt) {
    expectWorksInSpiteOf([](int error) { support::failLockCalls(LockCall::Read, error); },
                         {Side::Read});
}

TEST(LockFaults, WriteLock_EveryChangeIsMadeWithoutIt) {
    expectWorksInSpiteOf([](int error) { support::failLockCalls(LockCall::Write, error); },
                         {Side::Write});
}

TEST(LockFaults, EveryAcquisition_EveryOperationWorksWithoutAnyUnlock) {
    expectWorksInSpiteOf(
        [](int error) {
            support::failLockCalls(LockCall::Read, error);
            support::failLockCalls(LockCall::Write, error);
            // Reached only by a call that unlocks what it has not locked.
            support::failLockCalls(LockCall::Unlock, error != 0 ? EPERM : 0);
        },
        {Side::Read, Side::Write});
}

TEST(LockFaults, Release_EveryOperationTellsItsError) {
    expectWorksInSpiteOf([](int error) { support::misreportUnlocks(error); },
                         {Side::Read, Side::Write});
}

TEST(LockFaults, OperationsWithoutALock_DoNotNotice) {
    Deployment deployment;
    const auto everything = [](int error) {
        support::failLockCalls(LockCall::Read, error);
        support::failLockCalls(LockCall::Write, error);
        support::failLockCalls(LockCall::Unlock, error);
    };
    for (const OperationRow& row : operations()) {
        if (row.side != Side::None) {
            continue;
        }
        SCOPED_TRACE(row.name);
        const Outcome outcome = ::outcome(deployment, row, everything, EDEADLK);
        EXPECT_EQ(outcome.answer, row.answer);
        EXPECT_NE(outcome.error, EDEADLK);
    }
}

TEST(LockFaults, WriteLockOnALoadWithoutFiles_ErrnoIsTheLocks) {
    // Opening the files fails too, but later errors do not hide the lock's.
    const Deployment deployment;
    for (const int error : kErrors) {
        SysConfReader::Destory();
        support::failLockCalls(LockCall::Write, error);
        errno = 0;
        SysConfReader::Instance();
        EXPECT_EQ(errno, error);
        errno = 0;
        SysConfReader::Instance()->Reload();
        EXPECT_EQ(errno, error);
        support::failLockCalls(LockCall::Write, 0);
    }
}

TEST(LockFaults, WriteLockOfTwoCreations_TheFirstPublishedIsKeptAndSubscribed) {
    Deployment deployment;
    writeGeneration(deployment, 1);
    support::installEventLibrary("recording");
    support::failLockCalls(LockCall::Write, EAGAIN);
    SysConfReaderImpl* first = nullptr;
    support::setInitHook([&] {
        support::setInitHook(nullptr);
        first = SysConfReaderImpl::Instance();
        // An event of this change is delivered to the second one.
        writeGeneration(deployment, 2);
    });
    EXPECT_EQ(SysConfReaderImpl::Instance(), first);
    ASSERT_NE(first, nullptr);
    // The second one replaced the first in the event library, and was then discarded. It ended no
    // subscription, and the first one is subscribed again and has the change.
    EXPECT_EQ(support::eventLibraryCalls().subscriptions, 3);
    EXPECT_EQ(support::eventLibraryCalls().finis, 0);
    EXPECT_EQ(support::lastUserData(), first);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(2));
    writeGeneration(deployment, 3);
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(3));
}

TEST(LockFaults, ReadLockOnAQueryWithoutFiles_ErrnoIsTheLocks) {
    const Deployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    support::failLockCalls(LockCall::Read, EAGAIN);
    std::list<std::string> addresses;
    errno = 0;
    EXPECT_EQ(reader.getIPAddresses("a", "", addresses), -1);
    EXPECT_EQ(errno, EAGAIN);
    errno = 0;
    EXPECT_EQ(reader.getLocalIPByUsage("service"), "");
    EXPECT_EQ(errno, EAGAIN);
}

TEST(LockFaults, ReleaseThatLeavesTheReadLockHeld_TellsItsErrorAndReadersGoOn) {
    Deployment deployment;
    writeGeneration(deployment, 1);
    SysConfReader& reader = *SysConfReader::Instance();
    support::failLockCalls(LockCall::Unlock, EINVAL);
    errno = 0;
    EXPECT_EQ(reader.getLocalPort(), 4001);
    EXPECT_EQ(errno, EINVAL);
    support::failLockCalls(LockCall::Unlock, 0);
    EXPECT_EQ(reader.GetWssPort(), 5001);
    support::releaseLocksHeldHere();
}

TEST(LockFaults, ReleaseThatLeavesTheWriteLockHeld_ThisThreadStillGetsAnswers) {
    Deployment deployment;
    writeGeneration(deployment, 1);
    support::failLockCalls(LockCall::Unlock, EINVAL);
    errno = 0;
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(errno, EINVAL);
    support::failLockCalls(LockCall::Unlock, 0);
    errno = 0;
    EXPECT_EQ(reader.getLocalPort(), 4001);
    EXPECT_EQ(errno, EDEADLK);
    support::releaseLocksHeldHere();
    EXPECT_EQ(reader.getLocalPort(), 4001);
}

} // namespace
