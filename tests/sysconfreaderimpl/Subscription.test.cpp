// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/LibraryCalls.h"
#include "support/RealFunction.h"
#include "support/SampleTexts.h"
#include "support/Sanitizers.h"
#include "support/TestDirectory.h"
#include "support/Threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string_view>

namespace {

#ifndef SANITIZED
/// Runs when the second of the variables that turn events off has been looked up.
std::function<void()>& afterLookup() {
    static auto& hook = *new std::function<void()>;
    return hook;
}
#endif

namespace fs = std::filesystem;
using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::Deployment;
using support::SampleDeployment;
using support::setEnvironment;

struct Calls {
    int opens = 0;
    int closes = 0;
    int inits = 0;
    int finis = 0;

    friend bool operator==(const Calls&, const Calls&) = default;
    friend void PrintTo(const Calls& calls, std::ostream* out) {
        *out << calls.opens << " opens, " << calls.closes << " closes, " << calls.inits
             << " inits, " << calls.finis << " finis";
    }
};

Calls calls() {
    const support::EventLibraryCalls entryPoints = support::eventLibraryCalls();
    return {static_cast<int>(support::eventLibraryOpens().size()), support::eventLibraryCloses(),
            entryPoints.inits, entryPoints.finis};
}

void (*const kSteps[])() = {
    [] { SysConfReader::Instance(); },
    [] { SysConfReader::Instance()->Reload(); },
    [] { SysConfReaderImpl::Instance()->Reload(); },
    [] { SysConfReaderEventProcessCB("SysConfigEvent", "", "", SysConfReaderImpl::Instance()); },
    [] { SysConfReaderImpl::Destory(); },
    [] { SysConfReader::Instance()->Reload(); }, // creates the role reader again
    [] { SysConfReader::Destory(); },
};

using Totals = std::array<int, std::size(kSteps)>;
struct Course {
    Totals opens{};
    Totals closes{};
    Totals inits{};
    Totals finis{};
};

// Each subscription is made and ended once; its end opens the library again.
const Course kSubscribed = {
    .opens = {1, 1, 1, 1, 2, 3, 4},
    .closes = {0, 0, 0, 0, 1, 1, 2},
    .inits = {1, 1, 1, 1, 1, 2, 2},
    .finis = {0, 0, 0, 0, 1, 1, 2},
};
// Without one, every load of either class tries: two at the first use, one at a reload of the
// reader, two at a reload of the role reader.
const Totals kEachLoad = {2, 3, 5, 7, 7, 9, 9};

constexpr int kRefused = -1;

struct CourseRow {
    const char* name;
    const char* library; // null: none
    int initResult;
    Course course;
    bool remainsLoaded;
};

void PrintTo(const CourseRow& row, std::ostream* stream) {
    *stream << row.name;
}

const CourseRow kCourses[] = {
    {"Accepts", "recording", 0, kSubscribed, true},
    {"AcceptsWithAPositiveNumber", "recording", 17, kSubscribed, true},
    {"Refuses", "recording", kRefused, {.opens = kEachLoad, .inits = kEachLoad}, true},
    {"RefusesWithTheSmallestNumber",
     "recording",
     std::numeric_limits<int>::min(),
     {.opens = kEachLoad, .inits = kEachLoad},
     true},
    {"HasNoInit", "without-init", 0, {.opens = kEachLoad, .closes = kEachLoad}, false},
    {"HasNoFini",
     "without-fini",
     0,
     {.opens = kSubscribed.opens, .closes = kSubscribed.closes, .inits = kSubscribed.inits},
     true},
    {"IsAbsent", nullptr, 0, {.opens = kEachLoad}, false},
};

class EventLibraryThat : public testing::TestWithParam<CourseRow> {};

TEST_P(EventLibraryThat, IsCalledAtTheseSteps) {
    const auto& [name, library, initResult, course, remainsLoaded] = GetParam();
    const Deployment deployment;
    if (library != nullptr) {
        support::installEventLibrary(library);
    }
    support::setInitResult(initResult);
    for (std::size_t step = 0; step < std::size(kSteps); ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step + 1);
        kSteps[step]();
        EXPECT_EQ(calls(), (Calls{course.opens[step], course.closes[step], course.inits[step],
                                  course.finis[step]}));
        EXPECT_EQ(support::eventLibraryLoaded(), remainsLoaded);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EventLibraryThat, testing::ValuesIn(kCourses),
                         [](const auto& row) { return row.param.name; });

TEST(EventLibrary, RoleReaderAlone_TriesOnce) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    support::setInitResult(kRefused);
    SysConfReaderImpl::Instance();
    EXPECT_EQ(calls(), (Calls{1, 0, 1, 0}));
    SysConfReaderImpl::Instance();
    EXPECT_EQ(calls(), (Calls{1, 0, 1, 0}));
    SysConfReader_i::Instance()->GetProductName();
    EXPECT_EQ(calls(), (Calls{1, 0, 1, 0}));
}

fs::path installedLibrary() {
    return support::testDirectory() / "libeventcbutil.so";
}

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::function<void()> changedHeader(std::size_t at, char value) {
    return [=] {
        support::installEventLibrary("recording");
        std::string bytes = bytesOf(installedLibrary());
        ASSERT_NE(bytes.at(at), value);
        bytes.at(at) = value;
        fs::remove(installedLibrary());
        support::writeFile(installedLibrary(), bytes);
    };
}

struct UnusableRow {
    const char* name;
    std::function<void()> install;
};

const UnusableRow kUnusable[] = {
    {"of another machine", changedHeader(EI_NIDENT + 2, static_cast<char>(EM_AARCH64))},
    {"of 32 bits", changedHeader(EI_CLASS, ELFCLASS32)},
    {"of the other byte order", changedHeader(EI_DATA, ELFDATA2MSB)},
    {"of another system", changedHeader(EI_OSABI, static_cast<char>(ELFOSABI_SOLARIS))},
    {"that is only compiled", changedHeader(EI_NIDENT, ET_REL)},
    {"that is a core dump", changedHeader(EI_NIDENT, ET_CORE)},
    {"that is cut short in its header",
     [] {
         support::writeFile(installedLibrary(), "\x7f"
                                                "ELF");
     }},
    {"that is empty", [] { support::writeFile(installedLibrary(), ""); }},
    {"that is a text", [] { support::writeFile(installedLibrary(), "INPUT(-lother)\n"); }},
    {"that is a directory", [] { fs::create_directory(installedLibrary()); }},
    {"that is a link to nowhere", [] { fs::create_symlink("nowhere", installedLibrary()); }},
    {"that is a link to itself",
     [] { fs::create_symlink(installedLibrary(), installedLibrary()); }},
    {"that is a device", [] { fs::create_symlink("/dev/null", installedLibrary()); }},
};

TEST(EventLibrary, CannotBeLoaded_IsTriedAtEachLoadWithoutEffect) {
    SampleDeployment deployment;
    for (const UnusableRow& row : kUnusable) {
        SCOPED_TRACE(row.name);
        fs::remove_all(installedLibrary());
        row.install();
        const Calls before = calls();
        SysConfReader::Instance();
        SysConfReaderImpl::Instance()->Reload();
        EXPECT_EQ(calls().opens - before.opens, 4);
        EXPECT_EQ(calls().closes, before.closes);
        EXPECT_FALSE(support::eventLibraryOpens().back().opened);
        EXPECT_FALSE(support::eventLibraryLoaded());
        EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
        EXPECT_EQ(SysConfReader_i::Instance()->GetProductName(), "tenancy1");
        SysConfReader::Destory();
    }
    fs::remove_all(installedLibrary());
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    EXPECT_TRUE(support::subscribed());
}

/// As the library could do: adds a reference to itself and releases both.
void unloadEventLibrary() {
    void* library = ::dlopen("libeventcbutil.so", RTLD_LAZY | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr);
    ::dlclose(library);
    ::dlclose(library);
    ASSERT_FALSE(support::eventLibraryLoaded());
}

TEST(EventLibrary, UnloadsItself_IsLoadedAgainForTheEndOfTheSubscription) {
    SampleDeployment deployment("recording");
    SysConfReader::Instance();
    ASSERT_TRUE(support::eventLibraryLoaded());
    unloadEventLibrary();
    writeGeneration(deployment, 2);
    SysConfReaderImpl::Instance()->Reload();
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4002);
    SysConfReader::Destory();
    EXPECT_EQ(support::eventLibraryCalls().finis, 1);
    EXPECT_FALSE(support::eventLibraryLoaded());
    SysConfReader::Instance();
    EXPECT_EQ(support::eventLibraryCalls().subscriptions, 2);
    EXPECT_EQ(support::deliver(), 0);
}

TEST(EventLibrary, UnloadsItselfAndIsDeleted_FiniIsNotCalled) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    unloadEventLibrary();
    fs::remove(installedLibrary());
    SysConfReader::Destory();
    EXPECT_EQ(support::eventLibraryCalls().finis, 0);
    EXPECT_NE(SysConfReader::Instance(), nullptr);
}

TEST(EventLibrary, EveryOpen_IsLazyGlobalAndByTheName) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    SysConfReader::Destory();
    const auto opens = support::eventLibraryOpens();
    ASSERT_EQ(opens.size(), 2U);
    for (const support::LibraryOpen& open : opens) {
        EXPECT_EQ(open.name, "libeventcbutil.so");
        EXPECT_EQ(open.flags, RTLD_LAZY | RTLD_GLOBAL);
        EXPECT_TRUE(open.opened);
    }
}

TEST(EventLibrary, Subscription_NamesTheEventAndTheRoleReader) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    SysConfReader::Instance();
    EXPECT_EQ(support::eventLibraryCalls().lastEventName, "SysConfigEvent");
    EXPECT_EQ(support::eventLibraryCalls().lastSecond, "");
    EXPECT_EQ(support::lastUserData(), SysConfReaderImpl::Instance());
    // The callback is the exported one: it refuses the same events.
    EXPECT_EQ(support::deliver("SysConfigEvent"), 0);
    EXPECT_EQ(support::deliver("another event"), -1);
}

TEST(EventLibrary, AppearsLater_IsSubscribedToAtTheNextLoad) {
    const Deployment deployment;
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_FALSE(support::subscribed());
    support::installEventLibrary("recording");
    reader.Reload();
    EXPECT_TRUE(support::subscribed());
    EXPECT_EQ(calls(), (Calls{3, 0, 1, 0}));
    reader.Reload();
    EXPECT_EQ(calls(), (Calls{3, 0, 1, 0}));
}

TEST(EventLibrary, GainsItsInit_IsSubscribedToAtTheNextLoad) {
    const Deployment deployment;
    support::installEventLibrary("without-init");
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_FALSE(support::eventLibraryLoaded());
    support::installEventLibrary("recording");
    reader.Reload();
    EXPECT_TRUE(support::subscribed());
    EXPECT_EQ(calls(), (Calls{3, 2, 1, 0}));
}

TEST(EventLibrary, AcceptsAfterARefusal_IsSubscribedOnceAndEnded) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    support::setInitResult(kRefused);
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    support::setInitResult(0);
    roles.InitConsumer();
    roles.InitConsumer();
    roles.Reload();
    EXPECT_EQ(calls(), (Calls{2, 0, 2, 0}));
    SysConfReaderImpl::Destory();
    EXPECT_EQ(calls(), (Calls{3, 1, 2, 1}));
}

TEST(EventLibrary, Throws_IsNotSubscribedToAndTriedAgain) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    support::setInitThrows(true);
    EXPECT_THROW(SysConfReaderImpl::Instance(), std::runtime_error);
    EXPECT_THROW(SysConfReaderImpl::Instance(), std::runtime_error);
    EXPECT_THROW(SysConfReader::Instance(), std::runtime_error);
    EXPECT_THROW(SysConfReader_i::Instance()->GetProductName(), std::runtime_error);
    EXPECT_EQ(calls(), (Calls{4, 0, 4, 0}));
    EXPECT_TRUE(support::eventLibraryLoaded());
    support::setInitThrows(false);
    SysConfReaderImpl::Instance();
    EXPECT_TRUE(support::subscribed());
    EXPECT_EQ(calls(), (Calls{5, 0, 5, 0}));
}

TEST(EventLibrary, ThrowsAtAReload_LeavesTheRoleReaderUnchanged) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    support::setInitResult(kRefused);
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    support::setInitThrows(true);
    EXPECT_THROW(roles.Reload(), std::runtime_error);
    EXPECT_THROW(roles.InitConsumer(), std::runtime_error);
    EXPECT_EQ(SysConfReaderImpl::Instance(), &roles);
    SysConfReaderImpl::Destory();
    EXPECT_EQ(support::eventLibraryCalls().finis, 0);
}

TEST(EventLibrary, CannotBeOpenedAtTheEnd_SubscriptionRemains) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    SysConfReaderImpl::Instance();
    support::failLibraryOpens(true);
    SysConfReaderImpl::Destory();
    EXPECT_EQ(calls(), (Calls{2, 0, 1, 0}));
    // A delivery finds no role reader now. The next role reader subscribes as usual.
    EXPECT_EQ(support::deliver(), 0);
    support::failLibraryOpens(false);
    SysConfReaderImpl::Instance();
    SysConfReaderImpl::Destory();
    EXPECT_EQ(calls(), (Calls{4, 1, 2, 1}));
}

TEST(EventLibrary, CannotBeClosed_SubscriptionEndsAndTheNextOneIsMade) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    support::failLibraryCloses(true);
    SysConfReaderImpl::Instance();
    SysConfReaderImpl::Destory();
    EXPECT_EQ(calls(), (Calls{2, 1, 1, 1}));
    SysConfReaderImpl::Instance();
    EXPECT_TRUE(support::subscribed());
    support::failLibraryCloses(false);
    SysConfReaderImpl::Destory();
    EXPECT_EQ(calls(), (Calls{4, 2, 2, 2}));
}

#ifndef SANITIZED
TEST(EventLibrary, TwoThreadsSubscribeAtTheSameTime_OneSubscriptionIsMade) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    support::setInitResult(kRefused);
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    support::setInitResult(0);
    // Both threads have found that events are on before either goes on.
    std::barrier both(2);
    afterLookup() = [&] { both.arrive_and_wait(); };
    support::runTogether(2, [&](std::size_t) { roles.InitConsumer(); });
    afterLookup() = nullptr;
    EXPECT_EQ(support::eventLibraryCalls().inits, 2); // the refused one and another
    EXPECT_TRUE(support::subscribed());
}
#endif

TEST(EventLibrary, WhileItSubscribes_NoSecondSubscriptionIsMade) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    support::setInitResult(kRefused);
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    support::setInitHook([&] { roles.InitConsumer(); });
    roles.InitConsumer();
    EXPECT_EQ(support::eventLibraryCalls().inits, 2);
}

struct SwitchRow {
    const char* client;   // NO_EM_CLIENT, null: unset
    const char* consumer; // NO_EM_CLIENT_CONSUMER, null: unset
    bool on;
};

const SwitchRow kSwitchRows[] = {
    {nullptr, nullptr, true},  {"", nullptr, true},
    {nullptr, "", true},       {"", "", true},
    {"1", nullptr, false},     {"0", nullptr, false},
    {"false", nullptr, false}, {" ", nullptr, false},
    {nullptr, "1", false},     {nullptr, "0", false},
    {nullptr, "false", false}, {"", "0", false},
    {"0", "", false},          {"1", "1", false},
};

void setSwitches(const SwitchRow& row) {
    setEnvironment("NO_EM_CLIENT", row.client);
    setEnvironment("NO_EM_CLIENT_CONSUMER", row.consumer);
}

std::string name(const SwitchRow& row) {
    const auto text = [](const char* value) {
        return value != nullptr ? '"' + std::string(value) + '"' : std::string("unset");
    };
    return text(row.client) + " and " + text(row.consumer);
}

TEST(EventSwitches, AnyNonEmptyText_TurnsTheSubscriptionOff) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    for (const SwitchRow& row : kSwitchRows) {
        SCOPED_TRACE(name(row));
        setSwitches(row);
        const Calls before = calls();
        SysConfReader::Instance();
        SysConfReader::Instance()->Reload();
        EXPECT_EQ(calls().opens - before.opens, row.on ? 1 : 0);
        EXPECT_EQ(calls().inits - before.inits, row.on ? 1 : 0);
        EXPECT_EQ(support::subscribed(), row.on);
        SysConfReader::Destory();
        EXPECT_EQ(calls().finis - before.finis, row.on ? 1 : 0);
        EXPECT_FALSE(support::subscribed());
    }
}

TEST(EventSwitches, ClearedLater_SubscribeAtTheNextLoad) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    setEnvironment("NO_EM_CLIENT_CONSUMER", "1");
    SysConfReader& reader = *SysConfReader::Instance();
    setEnvironment("NO_EM_CLIENT_CONSUMER", "");
    EXPECT_FALSE(support::subscribed());
    reader.Reload();
    EXPECT_TRUE(support::subscribed());
    EXPECT_EQ(calls(), (Calls{1, 0, 1, 0}));
}

TEST(EventSwitches, SetAfterTheSubscription_SubscriptionRemains) {
    const Deployment deployment;
    support::installEventLibrary("recording");
    for (const SwitchRow& row : kSwitchRows) {
        if (row.on) {
            continue;
        }
        SCOPED_TRACE(name(row));
        setSwitches({nullptr, nullptr, true});
        SysConfReader::Instance();
        const Calls before = calls();
        setSwitches(row);
        SysConfReader::Destory();
        EXPECT_EQ(calls(), before);
        EXPECT_TRUE(support::subscribed());
        // A delivery finds no role reader now, and does nothing.
        EXPECT_EQ(support::deliver(), 0);
        EXPECT_EQ(calls(), before);
    }
}

TEST(GetDLLName, AnyName_GetsPrefixAndSuffix) {
    const Deployment deployment;
    const SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    EXPECT_EQ(roles.GetDLLName("eventcbutil"), "libeventcbutil.so");
    EXPECT_EQ(roles.GetDLLName("a b"), "liba b.so");
    EXPECT_EQ(roles.GetDLLName(""), "lib.so");
}

} // namespace

#ifndef SANITIZED
extern "C" [[gnu::visibility("default")]] char* getenv(const char* name) noexcept {
    static auto* const real = support::realFunction<char*(const char*)>(nullptr, "getenv");
    char* const value = real(name);
    if (afterLookup() && name == std::string_view("NO_EM_CLIENT_CONSUMER")) {
        afterLookup()();
    }
    return value;
}
#endif
