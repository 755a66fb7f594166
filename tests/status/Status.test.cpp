// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReaderStatus.h"
#include "SysConfReader_i.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>
#include <thread>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using Status = Quarncommon::SysConfReaderStatus;
using Subscription = Status::Subscription;

class StatusTest : public testing::Test {
protected:
    StatusTest() { writeGeneration(m_files, 1); }

    static std::string subscription() { return Status::text(Status::read().subscription); }

    support::Deployment m_files;
};

using Generation = StatusTest;

TEST_F(Generation, BeforeTheFirstUse_IsZeroAndNothingIsCreated) {
    EXPECT_EQ(Status::generation(), 0U);
    const Status status = Status::read();
    EXPECT_EQ(status.lastLoad, 0U);
    EXPECT_EQ(status.reader.number, 0U);
    EXPECT_EQ(status.roles.number, 0U);
    EXPECT_EQ(status.reader.appConfig.outcome, Status::Outcome::NotRead);
    EXPECT_EQ(status.subscription, Subscription::None);
    EXPECT_TRUE(support::openCalls().empty());
    EXPECT_FALSE(support::eventLibraryLoaded());
}

TEST_F(Generation, EachLoad_GetsTheNextNumber) {
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(Status::read().roles.number, 1U) << "the reader's load creates the role reader first";
    EXPECT_EQ(Status::read().reader.number, 2U);
    reader.Reload();
    EXPECT_EQ(Status::read().roles.number, 1U);
    EXPECT_EQ(Status::read().reader.number, 3U);
    SysConfReaderImpl::Instance()->Reload();
    EXPECT_EQ(Status::read().reader.number, 4U);
    EXPECT_EQ(Status::read().roles.number, 5U);
    SysConfReader::Destory();
    EXPECT_EQ(Status::read().reader.number, 4U) << "kept";
    SysConfReader_i::Instance()->GetProductName();
    EXPECT_EQ(Status::read().roles.number, 6U);
    EXPECT_EQ(Status::read().lastLoad, 6U);
    EXPECT_EQ(Status::generation(), 6U);
}

TEST_F(Generation, Queries_DoNotChangeIt) {
    SysConfReader& reader = *SysConfReader::Instance();
    const auto before = Status::generation();
    reader.getLocalSouthIP();
    reader.getLocalPort();
    SysConfReader_i::Instance()->GetProductName();
    EXPECT_EQ(Status::generation(), before);
}

TEST_F(Generation, OnceSeen_QueriesAnswerFromThatLoadOrALaterOne) {
    SysConfReader& reader = *SysConfReader::Instance();
    constexpr int kReloads = 200;
    std::jthread reloading([&] {
        for (int generation = 2; generation <= kReloads; ++generation) {
            m_files.appConfig(support::jsonText(support::sampleAppConfig(generation)));
            reader.Reload();
        }
    });
    // The first two numbers are those of the first use.
    for (unsigned long long seen = 0; seen < kReloads + 1;) {
        seen = Status::generation();
        EXPECT_GE(reader.getLocalPort(), 4000 + static_cast<int>(seen) - 1);
    }
}

TEST_F(Generation, WhileALoadIsReadingFiles_StatusIsThatOfTheLoadBefore) {
    SysConfReader& reader = *SysConfReader::Instance();
    Status seen;
    support::setOpenHook([&](const std::string&) {
        // Another thread, which holds none of the locks of this one.
        std::jthread([&] { seen = Status::read(); }).join();
    });
    reader.Reload();
    support::setOpenHook(nullptr);
    EXPECT_EQ(seen.lastLoad, 2U);
    EXPECT_EQ(Status::read().lastLoad, 3U);
}

TEST_F(Generation, TimesOfALoad_AreThoseOfTheLoad) {
    using std::chrono::nanoseconds;
    using std::chrono::system_clock;
    const auto now = [] { return nanoseconds(system_clock::now().time_since_epoch()).count(); };
    const auto clockBefore = std::chrono::steady_clock::now();
    const long long before = now();
    SysConfReader::Instance();
    const long long after = now();
    const nanoseconds elapsed = std::chrono::steady_clock::now() - clockBefore;
    const Status status = Status::read();
    for (const Status::Load* load : {&status.reader, &status.roles}) {
        EXPECT_GE(load->startedAt, before);
        EXPECT_LE(load->startedAt, after);
        EXPECT_GT(load->duration, 0);
        EXPECT_LE(load->duration, elapsed.count());
    }
}

using SubscriptionStatus = StatusTest;

TEST_F(SubscriptionStatus, WithAnEventLibrary_NamesItsFileUntilTheEnd) {
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    EXPECT_EQ(subscription(), Status::text(Subscription::Subscribed));
    EXPECT_EQ(std::string(Status::read().eventLibrary),
              (support::testDirectory() / "libeventcbutil.so").string());
    SysConfReader::Instance()->Reload();
    EXPECT_EQ(subscription(), Status::text(Subscription::Subscribed));
    SysConfReader::Destory();
    EXPECT_EQ(subscription(), Status::text(Subscription::None));
    EXPECT_STREQ(Status::read().eventLibrary, "");
}

TEST_F(SubscriptionStatus, WithoutAnEventLibrary_SaysSo) {
    SysConfReader::Instance();
    EXPECT_EQ(subscription(), Status::text(Subscription::NoLibrary));
    EXPECT_STREQ(Status::read().eventLibrary, "");
}

TEST_F(SubscriptionStatus, LibraryWithoutTheEntryPoint_IsNamed) {
    support::installEventLibrary("without-init");
    SysConfReader::Instance();
    EXPECT_EQ(subscription(), Status::text(Subscription::NoEntryPoint));
    EXPECT_EQ(std::string(Status::read().eventLibrary),
              (support::testDirectory() / "libeventcbutil.so").string());
}

TEST_F(SubscriptionStatus, Refused_IsReportedUntilTheNextAttempt) {
    support::installEventLibrary("recording");
    support::setInitResult(-1);
    SysConfReader::Instance();
    EXPECT_EQ(subscription(), Status::text(Subscription::Refused));
    support::setInitResult(0);
    SysConfReader::Instance()->Reload();
    EXPECT_EQ(subscription(), Status::text(Subscription::Subscribed));
}

TEST_F(SubscriptionStatus, LibraryThatThrows_HasRefused) {
    support::installEventLibrary("recording");
    support::setInitThrows(true);
    EXPECT_ANY_THROW(SysConfReader::Instance());
    EXPECT_EQ(subscription(), Status::text(Subscription::Refused));
    EXPECT_EQ(Status::generation(), 0U) << "nothing was loaded";
}

TEST_F(SubscriptionStatus, SwitchedOff_IsReported) {
    support::installEventLibrary("recording");
    support::setEnvironment("NO_EM_CLIENT", "1");
    SysConfReader::Instance();
    EXPECT_EQ(subscription(), Status::text(Subscription::SwitchedOff));
}

using EventCounts = StatusTest;

struct Events {
    unsigned long long applied, failed, dropped;
    bool operator==(const Events&) const = default;
};
void PrintTo(const Events& events, std::ostream* out) {
    *out << events.applied << " applied, " << events.failed << " failed, " << events.dropped
         << " dropped";
}

Events events() {
    const Status status = Status::read();
    return {status.eventsApplied, status.eventsFailed, status.eventsDropped};
}

TEST_F(EventCounts, AppliedEvents_AreCountedAndLoadBothReaders) {
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    EXPECT_EQ(events(), (Events{0, 0, 0}));
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_EQ(events(), (Events{1, 0, 0}));
    EXPECT_EQ(Status::read().reader.number, 3U);
    EXPECT_EQ(Status::read().roles.number, 4U);
}

TEST_F(EventCounts, RefusedAndLateEvents_AreDropped) {
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    EXPECT_EQ(support::deliver("OtherEvent"), -1);
    EXPECT_EQ(events(), (Events{0, 0, 1}));
    void* roles = SysConfReaderImpl::Instance();
    SysConfReader::Destory();
    EXPECT_EQ(SysConfReaderEventProcessCB("SysConfigEvent", "", "", roles), 0);
    EXPECT_EQ(events(), (Events{0, 0, 2}));
}

TEST_F(EventCounts, EventDuringASubscription_IsDropped) {
    support::installEventLibrary("recording");
    support::setSubscribedHook([] { support::deliver(); });
    SysConfReader::Instance();
    EXPECT_EQ(events(), (Events{0, 0, 1}));
}

TEST_F(EventCounts, EventsWithAShortageOrAnException_HaveFailed) {
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    support::failOpens(m_files.nodeListPath(), [](std::size_t) { return EMFILE; });
    EXPECT_EQ(support::deliver(), -1);
    EXPECT_EQ(events(), (Events{0, 1, 0}));
    support::failOpens(m_files.nodeListPath(), nullptr);
    EXPECT_EQ(support::deliver(), 0);
    EXPECT_EQ(events(), (Events{1, 1, 0}));
}

using StatusTexts = StatusTest;

TEST_F(StatusTexts, OfEachValue_Differ) {
    std::set<std::string> texts;
    for (int value = 0; value <= static_cast<int>(Status::Outcome::Shortage) + 1; ++value) {
        texts.insert(Status::text(static_cast<Status::Outcome>(value)));
    }
    EXPECT_EQ(texts.size(), 11U) << "with that of no value";
    texts.clear();
    for (int value = 0; value <= static_cast<int>(Subscription::Refused) + 1; ++value) {
        texts.insert(Status::text(static_cast<Subscription>(value)));
    }
    EXPECT_EQ(texts.size(), 7U);
}

} // namespace
