// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/HostAddresses.h"
#include "support/LocksFree.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;

struct FailingCall {
    const char* name;
    std::function<void(const fs::path&, std::size_t which, bool& happened)> make;
    std::function<void(const fs::path&)> end;
};

auto failOnce(int error, std::size_t which, bool& happened) {
    return [=, &happened](std::size_t call) {
        happened = happened || call == which;
        return call == which ? error : 0;
    };
}

const FailingCall kFailingCalls[] = {
    {"open",
     [](const fs::path& path, std::size_t which, bool& happened) {
         support::failOpens(path, failOnce(EMFILE, which, happened));
     },
     [](const fs::path& path) { support::failOpens(path, nullptr); }},
    {"read",
     [](const fs::path& path, std::size_t which, bool& happened) {
         support::disturbReads(path, [=, &happened](std::size_t call) {
             return support::ReadStep{failOnce(EIO, which, happened)(call)};
         });
     },
     [](const fs::path& path) { support::disturbReads(path, nullptr); }},
    {"fstat",
     [](const fs::path& path, std::size_t which, bool& happened) {
         support::failStats(path, failOnce(ENOMEM, which, happened));
     },
     [](const fs::path& path) { support::failStats(path, nullptr); }},
};

class Shortage : public testing::Test {
protected:
    Shortage() {
        support::installEventLibrary("recording");
        writeOld(1);
    }

    /// So that each is read only once.
    void writeOld(int generation) {
        writeGeneration(m_files, generation);
        for (const fs::path& path : paths()) {
            fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1));
        }
    }

    std::vector<fs::path> paths() const {
        return {m_files.appConfigPath(), m_files.nodeListPath(), m_files.managerNodeListPath()};
    }

    static void failAllOpens(const fs::path& path, int error) {
        support::failOpens(path, [error](std::size_t) { return error; });
    }

    /// Opens no file.
    static bool whole(int generation) {
        SysConfReader& reader = *SysConfReader::Instance();
        const std::string number = std::to_string(generation);
        return reader.getLocalPort() == 4000 + generation &&
               reader.getFloatNodeId() == "node" + number &&
               reader.getLocalHostTagName() == "host" + number + "-" + number &&
               support::roleAnswers() == support::sampleRoleAnswers(generation);
    }

    static int requests() { return support::eventLibraryCalls().redeliveries; }

    support::Deployment m_files;
};

TEST_F(Shortage, AtAnEvent_ReturnsMinusOneAndTheNextDeliveryIsApplied) {
    SysConfReader::Instance();
    int generation = 1;
    for (const fs::path& path : paths()) {
        SCOPED_TRACE(path);
        writeOld(++generation);
        failAllOpens(path, EMFILE);
        EXPECT_EQ(support::deliver(), -1);
        EXPECT_FALSE(whole(generation));
        support::failOpens(path, nullptr);
        EXPECT_EQ(support::deliver(), 0);
        EXPECT_TRUE(whole(generation));
    }
    EXPECT_EQ(requests(), 0) << "the answer is the request";
}

TEST_F(Shortage, OfAnyKind_ReturnsMinusOne) {
    SysConfReader::Instance();
    int generation = 1;
    for (const int error :
         {ENOMEM, EMFILE, ENFILE, ENOBUFS, EAGAIN, EBUSY, EBADF, EIO, EREMOTEIO, ESTALE, ETIMEDOUT,
          ENOTCONN, ECONNABORTED, ECONNRESET, ECONNREFUSED, EHOSTDOWN, EHOSTUNREACH}) {
        writeOld(++generation);
        failAllOpens(m_files.appConfigPath(), error);
        EXPECT_EQ(support::deliver(), -1) << error;
    }
}

TEST_F(Shortage, AtAnyCallOfTheFirstUse_RequestsADeliveryIfSomethingIsMissing) {
    int incomplete = 0;
    for (const FailingCall& failing : kFailingCalls) {
        for (const fs::path& path : paths()) {
            bool happened = true;
            for (std::size_t which = 0; happened; ++which) {
                SCOPED_TRACE(testing::Message()
                             << failing.name << " " << which << " of " << path.filename());
                SysConfReader::Destory();
                const int before = requests();
                happened = false;
                failing.make(path, which, happened);
                SysConfReader::Instance();
                failing.end(path);
                EXPECT_EQ(requests() - before, whole(1) ? 0 : 1);
                incomplete += whole(1) ? 0 : 1;
                EXPECT_EQ(happened, !whole(1));
                EXPECT_EQ(support::deliver(), 0);
                EXPECT_TRUE(whole(1));
            }
        }
    }
    // The app config file is opened twice, the node list three times, the manager list twice.
    EXPECT_GE(incomplete, 3 * 7);
}

TEST_F(Shortage, AtTheFirstUse_RequestNamesTheSubscriptionAndHoldsNoLock) {
    support::LockCounts held{1, 1, 1};
    support::setRedeliverHook([&] { held = support::locksHeldHere(); });
    failAllOpens(m_files.appConfigPath(), ENFILE);
    const SysConfReader* reader = SysConfReader::Instance();
    support::failOpens(m_files.appConfigPath(), nullptr);
    EXPECT_EQ(requests(), 1);
    EXPECT_EQ(support::lastRedelivery().callback, &SysConfReaderEventProcessCB);
    EXPECT_EQ(support::lastRedelivery().userData, SysConfReaderImpl::Instance());
    EXPECT_EQ(held.read + held.write, 0U);
    EXPECT_EQ(SysConfReader::Instance(), reader);
}

TEST_F(Shortage, AtTheFirstUseOfTheFacade_RequestsADelivery) {
    failAllOpens(m_files.managerNodeListPath(), EMFILE);
    SysConfReader_i::Instance()->GetProductName();
    support::failOpens(m_files.managerNodeListPath(), nullptr);
    EXPECT_EQ(requests(), 1);
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
}

TEST_F(Shortage, AtAReload_RequestsADelivery) {
    SysConfReader& reader = *SysConfReader::Instance();
    failAllOpens(m_files.appConfigPath(), EMFILE);
    reader.Reload();
    EXPECT_EQ(requests(), 1);
    SysConfReaderImpl::Instance()->Reload();
    support::failOpens(m_files.appConfigPath(), nullptr);
    EXPECT_GE(requests(), 2);
    const int before = requests();
    SysConfReaderImpl::Instance()->Reload();
    EXPECT_EQ(requests(), before) << "a whole load";
}

TEST_F(Shortage, BeforeThereIsASubscription_RequestsADeliveryWhenThereIs) {
    support::setInitResult(-1);
    failAllOpens(m_files.managerNodeListPath(), EMFILE);
    SysConfReader& reader = *SysConfReader::Instance();
    support::failOpens(m_files.managerNodeListPath(), nullptr);
    EXPECT_EQ(requests(), 0);
    support::setInitResult(0);
    reader.Reload();
    EXPECT_EQ(requests(), 1) << "the role reader is still incomplete";
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_TRUE(whole(1));
}

TEST_F(Shortage, OfADestroyedReader_RequestsNothingForTheNextRoleReader) {
    support::setInitResult(-1);
    failAllOpens(m_files.appConfigPath(), EMFILE);
    SysConfReader::Instance();
    support::failOpens(m_files.appConfigPath(), nullptr);
    SysConfReader::Destory();
    support::setInitResult(0);
    SysConfReaderImpl::Instance();
    EXPECT_EQ(requests(), 0);
}

TEST_F(Shortage, InAForkedChild_RequestsNothingBeforeItSubscribes) {
    SysConfReader& reader = *SysConfReader::Instance();
    failAllOpens(m_files.appConfigPath(), EMFILE);
    const auto requestsOfTheChild = [&] {
        reader.Reload();
        const int inherited = requests();
        SysConfReader::Destory();
        SysConfReader::Instance();
        std::_Exit(inherited == 0 && requests() == 1 ? EXIT_SUCCESS : EXIT_FAILURE);
    };
    EXPECT_EXIT(requestsOfTheChild(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_F(Shortage, WithoutTheEntryPoint_EventStillReturnsMinusOne) {
    support::installEventLibrary("without-redeliver");
    failAllOpens(m_files.appConfigPath(), EMFILE);
    SysConfReader& reader = *SysConfReader::Instance();
    reader.Reload();
    EXPECT_EQ(support::deliver(), -1);
    support::failOpens(m_files.appConfigPath(), nullptr);
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_TRUE(whole(1));
    EXPECT_EQ(requests(), 0);
}

const char* const kStandby = R"({"nodeList": {
    "node1": {"extAttr": {"hostType": "standby"}},
    "node9": {"IPAddresses": [{"IP": "10.9.9.9", "usage": ["service"]}]}}})";

TEST_F(Shortage, OfTheHostsAddresses_RequestsADelivery) {
    m_files.nodeList(kStandby);
    support::setHostAddresses({"10.9.9.9"});
    for (const int error : {EMFILE, ENFILE, ENOMEM, ENOBUFS}) {
        SysConfReader::Destory();
        const int before = requests();
        support::failHostAddresses(error);
        SysConfReader& reader = *SysConfReader::Instance();
        EXPECT_EQ(reader.getFloatNodeId(), "node1");
        EXPECT_EQ(requests() - before, 1) << error;
        EXPECT_EQ(support::deliver(), -1);
        support::failHostAddresses(0);
        EXPECT_EQ(support::deliver(), 0);
        EXPECT_EQ(reader.getFloatNodeId(), "node9");
    }
    SysConfReader::Destory();
    const int before = requests();
    support::failHostAddresses(EAFNOSUPPORT);
    SysConfReader::Instance();
    EXPECT_EQ(support::deliver(), 0);
    support::failHostAddresses(0);
    EXPECT_EQ(requests(), before);
}

TEST_F(Shortage, BeforeALoadOnAHostWithoutAddresses_IsNotOneOfTheLoad) {
    m_files.nodeList(kStandby);
    support::setHostAddresses({});
    SysConfReader::Instance();
    errno = EMFILE;
    EXPECT_EQ(support::deliver(), 0);
}

TEST_F(Shortage, MissingMalformedOrMistypedFile_IsNoShortage) {
    const std::function<void(const fs::path&)> kFaults[] = {
        [](const fs::path& path) { fs::remove(path); },
        [](const fs::path& path) { support::writeFile(path, ""); },
        [](const fs::path& path) { support::writeFile(path, "{"); },
        [](const fs::path& path) {
            support::writeFile(path, R"({"nodeList": [], "databases": 1})");
        },
        [](const fs::path& path) {
            fs::remove(path);
            fs::create_directory(path);
        },
        [](const fs::path& path) { failAllOpens(path, EACCES); },
    };
    for (const auto& fault : kFaults) {
        for (const fs::path& path : paths()) {
            SysConfReader::Destory();
            fault(path);
            SysConfReader::Instance()->Reload();
            EXPECT_EQ(support::deliver(), 0);
            EXPECT_FALSE(whole(1));
            support::failOpens(path, nullptr);
            fs::remove_all(path);
            writeOld(1);
        }
    }
    EXPECT_EQ(requests(), 0);
}

} // namespace
