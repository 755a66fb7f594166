// SPDX-License-Identifier: Apache-2.0
#include "faults/Recovery.h"

#include "support/Deployment.h"
#include "support/HostAddresses.h"
#include "support/LockFaults.h"
#include "support/Operations.h"
#include "support/Resources.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <new>
#include <optional>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace faults {

bool takesItsTime() {
    return std::getenv("SYSCONFREADER_ROUNDS") != nullptr;
}

namespace {

namespace fs = std::filesystem;
using namespace operations;
using Clock = std::chrono::steady_clock;
using support::Call;
using support::CallFault;

/// Only a failing test waits that long.
constexpr std::chrono::seconds kPatience{10};
/// A row ends after so many problems, unless everything is tried.
constexpr std::size_t kProblemsPerRow = 4;
constexpr std::size_t kSampled = 4;
constexpr std::chrono::milliseconds kWhile{300};
/// More than one, because the processes mostly wait for events.
constexpr std::size_t kProcessesPerProcessor = 6;

/// The report of the processes of one row, in shared memory.
struct Report {
    std::size_t injected;
    std::size_t problems;
    long slowestRecovery; // milliseconds
    bool happened;
    std::array<std::size_t, support::kCalls> calls;
    std::array<char, 6000> text;
};

class SharedReports {
public:
    explicit SharedReports(std::size_t number)
        : m_size(number * sizeof(Report)),
          m_reports(static_cast<Report*>(::mmap(nullptr, m_size, PROT_READ | PROT_WRITE,
                                                MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    SharedReports(const SharedReports&) = delete;
    SharedReports& operator=(const SharedReports&) = delete;
    ~SharedReports() { ::munmap(m_reports, m_size); }
    Report& operator[](std::size_t index) { return m_reports[index]; }

private:
    std::size_t m_size;
    Report* m_reports;
};

void add(Report& report, const std::string& problem) {
    ++report.problems;
    const std::size_t length = std::strlen(report.text.data());
    problem.copy(report.text.data() + length, report.text.size() - length - 1);
}

struct Undisturbed {
    std::map<std::string, Answers> answers;
    Resources subscribed;
};

// The marks of the files, in the order in which they replace each other.
constexpr const char* kBefore = "before";
constexpr const char* kDuring = "standby";
constexpr const char* kAfter = "after";

template <typename Condition>
bool eventually(Condition condition) {
    const Clock::time_point end = Clock::now() + kPatience;
    while (!condition()) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// A link leads to the files.
support::Deployment deploymentIn(const fs::path& directory) {
    fs::create_directories(directory / "real");
    fs::create_directory_symlink("real", directory / "link");
    support::setEnvironment(support::kTestDirectoryVariable, (directory / "link").c_str());
    support::setEnvironment("SYSCONF_EVENT_QUIET_MS", "5");
    support::setHostAddresses({kSourceAddress});
    support::Deployment files;
    writeFiles(files, kDuring);
    return files;
}

class Trial {
public:
    Trial(const Scenario& scenario, const CallFault& fault, const Undisturbed& undisturbed,
          const fs::path& directory)
        : m_scenario(scenario), m_fault(fault), m_undisturbed(undisturbed), m_start(resources()),
          m_files(deploymentIn(directory)) {}

    /// One problem per line. Sets `happened` and `recovery`.
    std::string run() {
        m_notUnderTest.emplace();
        // Locks are counted from the start, because an event of the preparation may hold one now.
        m_scenario.prepare(m_files);
        support::arm(m_fault);
        act();
        support::release();
        happened = support::faultHappened();
        for (std::size_t call = 0; call < calls.size(); ++call) {
            calls[call] = support::callCount(static_cast<Call>(call));
        }
        expectLocksFree();
        const Clock::time_point released = Clock::now();
        expectRecovery();
        recovery = Clock::now() - released;
        expectNextChangeIsSeen();
        expectNothingLeftBehind();
        return m_problems;
    }

    bool happened = false;
    std::array<std::size_t, support::kCalls> calls{};
    Clock::duration recovery{};

private:
    void problem(const std::string& what) { m_problems += "  " + what + "\n"; }

    bool answersAre(const char* mark) const {
        return answersFromFiles() == m_undisturbed.answers.at(mark);
    }

    std::string difference(const char* mark) const {
        return differences(answersFromFiles(), m_undisturbed.answers.at(mark)).substr(0, 300);
    }

    void act() {
        const bool onCaller = m_scenario.thread == Scenario::Thread::Caller;
        if (onCaller) {
            m_notUnderTest.reset();
        }
        try {
            m_scenario.act(m_files);
        } catch (const std::bad_alloc&) {
            // Other tests check which operations may throw.
            m_threw = true;
        }
        m_notUnderTest.emplace();
        if (!onCaller) {
            eventually([&] { return support::faultHappened() || answersAre(kDuring); });
        }
        if (support::faultHappened() && m_fault.calls != 1 &&
            (!onCaller || m_scenario.leavesWork)) {
            std::this_thread::sleep_for(kWhile);
        }
    }

    void expectLocksFree() {
        const auto balanced = [] {
            const support::LockCounts locks = support::lockCounts();
            return locks.read + locks.write == locks.unlock;
        };
        const support::LockCounts held = support::locksHeldHere();
        if (held.read + held.write + held.unlock != 0 || !eventually(balanced)) {
            problem("a lock is not free");
        }
    }

    void expectRecovery() {
        const auto recovered = [&] { return answersAre(kDuring); };
        recovered(); // creates missing instances
        const bool subscribed = serviceThreads() != 0;
        const bool byItself = m_scenario.repair == Repair::None ||
                              (m_scenario.repair == Repair::ReloadIfThrown && !m_threw);
        if (byItself && subscribed && !eventually(recovered)) {
            problem("subscribed, but the answers stay wrong: " + difference(kDuring));
        }
        if (!recovered() || !subscribed) {
            reloadAll();
        }
        if (!eventually(recovered)) {
            problem("wrong after Reload(): " + difference(kDuring));
        }
        if (serviceThreads() == 0) {
            problem("no subscription, not even after Reload()");
        }
    }

    void expectNextChangeIsSeen() {
        writeFiles(m_files, kAfter);
        if (!eventually([&] { return answersAre(kAfter); })) {
            problem("the next change is not seen: " + difference(kAfter));
        }
    }

    void expectNothingLeftBehind() {
        if (m_fault.call == Call::OpenLibrary) {
            // The next subscription replaces the old one only if the role reader has the same
            // address.
            destroyAll();
            answersFromFiles();
        }
        Resources now{};
        if (!eventually([&] { return (now = resources()) == m_undisturbed.subscribed; })) {
            problem("holds " + testing::PrintToString(now) + " instead of " +
                    testing::PrintToString(m_undisturbed.subscribed));
        }
        destroyAll();
        if (!eventually([&] { return (now = resources()) == m_start; })) {
            problem("holds " + testing::PrintToString(now) + " after destruction instead of " +
                    testing::PrintToString(m_start));
        }
    }

    const Scenario& m_scenario;
    CallFault m_fault;
    const Undisturbed& m_undisturbed;
    Resources m_start;
    support::Deployment m_files;
    std::optional<support::NotUnderTest> m_notUnderTest;
    bool m_threw = false;
    std::string m_problems;
};

/// Returns the wait status. Kills the process if it hangs.
template <typename Work>
int inProcess(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        work();
        ::_exit(0);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child ? status : -1;
}

std::string describe(const Scenario& scenario, const Failing& failing, std::size_t first) {
    return scenario.name + ": " + failing.name + " " + std::to_string(first) + ", " +
           ::strerrorname_np(failing.error) +
           (failing.calls == 1                         ? ", once"
            : failing.calls == support::kUntilReleased ? ", until released"
                                                       : ", a few times") +
           "\n";
}

void tryOne(const Scenario& scenario, const Failing& failing, std::size_t first,
            const Undisturbed& undisturbed, const fs::path& directory, Report& report) {
    report.happened = false;
    const int status = inProcess([&] {
        try {
            Trial trial(scenario, {failing.call, failing.error, first, failing.calls}, undisturbed,
                        directory);
            const std::string problems = trial.run();
            report.happened = trial.happened;
            report.calls = trial.calls;
            report.injected += trial.happened ? 1 : 0;
            const auto recovery =
                std::chrono::duration_cast<std::chrono::milliseconds>(trial.recovery).count();
            report.slowestRecovery = std::max<long>(report.slowestRecovery, recovery);
            if (!problems.empty()) {
                add(report, describe(scenario, failing, first) + problems);
            }
        } catch (const std::exception& thrown) {
            add(report, describe(scenario, failing, first) + "  throws " + thrown.what() + "\n");
        }
    });
    if (status != 0) {
        add(report, describe(scenario, failing, first) +
                        (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM
                             ? "  hangs\n"
                             : "  ends with status " + std::to_string(status) + "\n"));
    }
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

/// `calls` is their number without a fault; with one there may be more.
void tryAll(const Scenario& scenario, const Failing& failing, std::size_t calls,
            const Undisturbed& undisturbed, const fs::path& directory, Report& report) {
    for (std::size_t first = failing.from; first <= calls || (takesItsTime() && report.happened);
         first += failing.step) {
        tryOne(scenario, failing, first, undisturbed, directory / std::to_string(first), report);
        if (report.problems >= kProblemsPerRow && !takesItsTime()) {
            return;
        }
    }
}

class Processes {
public:
    template <typename Work>
    void start(Work work) {
        if (m_running == kProcessesPerProcessor * std::thread::hardware_concurrency()) {
            waitForOne();
        }
        if (::fork() == 0) {
            work();
            ::_exit(0);
        }
        ++m_running;
    }

    void waitForAll() {
        while (m_running > 0) {
            waitForOne();
        }
    }

private:
    void waitForOne() {
        if (::wait(nullptr) > 0) {
            --m_running;
        }
    }

    std::size_t m_running = 0;
};

constexpr char kEnd = '\0';

void save(const fs::path& path, const Answers& all) {
    std::ofstream file(path, std::ios::binary);
    for (const auto& [symbol, answer] : all) {
        file << symbol << kEnd << answer << kEnd;
    }
}

Answers saved(const fs::path& path) {
    Answers all;
    std::ifstream file(path, std::ios::binary);
    std::string symbol;
    while (std::getline(file, symbol, kEnd)) {
        std::getline(file, all[symbol], kEnd);
    }
    return all;
}

/// The directory is as deep as those of the rows, because each folder has a watch.
Undisturbed observe(const fs::path& directory) {
    Undisturbed observed;
    SharedReports reports(1);
    EXPECT_EQ(0, inProcess([&] {
                  support::Deployment files = deploymentIn(directory);
                  for (const char* mark : {kBefore, kDuring, kAfter}) {
                      writeFiles(files, mark);
                      destroyAll();
                      save(directory / mark, answersFromFiles());
                  }
                  // Counted before the file is opened.
                  const Resources held = resourcesAtRest();
                  std::ofstream(directory / "resources")
                      << held.threads << " " << held.descriptors << " " << held.watches;
              }));
    for (const char* mark : {kBefore, kDuring, kAfter}) {
        observed.answers[mark] = saved(directory / mark);
    }
    std::ifstream(directory / "resources") >> observed.subscribed.threads >>
        observed.subscribed.descriptors >> observed.subscribed.watches;
    EXPECT_EQ(observed.subscribed.threads, 2U);
    EXPECT_GT(observed.subscribed.watches, 2U);
    return observed;
}

void addBothLengths(std::vector<Failing>& all, Call call, const char* name,
                    std::initializer_list<int> errors) {
    // The errors alternate, unless everything is tried.
    const std::size_t step = takesItsTime() ? 1 : kSampled * errors.size();
    std::size_t from = 1;
    for (const int error : errors) {
        all.push_back({call, name, error, 1, from, step});
        // An interrupted call is repeated, so EINTR must end.
        all.push_back(
            {call, name, error, error == EINTR ? 16 : support::kUntilReleased, from, step});
        from += takesItsTime() ? 0 : 1;
    }
}

} // namespace

std::vector<Failing> failingSystemCalls() {
    std::vector<Failing> all;
    addBothLengths(all, Call::Open, "open", {EMFILE, ENOMEM, EIO, EINTR, EAGAIN});
    addBothLengths(all, Call::Read, "read", {EIO, ENOMEM, EINTR, EAGAIN});
    addBothLengths(all, Call::Fstat, "fstat", {EIO, ENOMEM});
    addBothLengths(all, Call::Lstat, "lstat", {EIO, ENOMEM});
    addBothLengths(all, Call::Readlink, "readlink", {EIO, ENOMEM});
    addBothLengths(all, Call::InotifyInit, "inotify_init1", {EMFILE, ENOMEM});
    addBothLengths(all, Call::InotifyAddWatch, "inotify_add_watch", {ENOSPC, ENOMEM});
    addBothLengths(all, Call::InotifyRmWatch, "inotify_rm_watch", {EINVAL});
    addBothLengths(all, Call::Eventfd, "eventfd", {EMFILE, ENOMEM});
    addBothLengths(all, Call::Pipe, "pipe2", {EMFILE});
    addBothLengths(all, Call::Fcntl, "fcntl", {EINTR, ENOMEM});
    addBothLengths(all, Call::Poll, "poll", {ENOMEM, EINTR, EAGAIN});
    addBothLengths(all, Call::Ioctl, "ioctl", {EIO, ENOMEM});
    addBothLengths(all, Call::CreateThread, "pthread_create", {EAGAIN});
    addBothLengths(all, Call::RegisterAtFork, "pthread_atfork", {ENOMEM});
    addBothLengths(all, Call::OpenLibrary, "dlopen", {ENOMEM});
    addBothLengths(all, Call::ListAddresses, "getifaddrs", {ENOMEM, EMFILE, ENOBUFS});
    addBothLengths(all, Call::ReadLock, "pthread_rwlock_rdlock", {EAGAIN});
    addBothLengths(all, Call::WriteLock, "pthread_rwlock_wrlock", {EDEADLK});
    addBothLengths(all, Call::Unlock, "pthread_rwlock_unlock", {EPERM});
    return all;
}

std::vector<Failing> failingAllocations(std::size_t step) {
    constexpr std::size_t kRows = 6;
    // An allocation that fails until released includes later ones, so fewer are tried.
    const std::size_t lasting = takesItsTime() ? 1 : 5;
    std::vector<Failing> all;
    for (std::size_t row = 0; row < kRows; ++row) {
        all.push_back({Call::Allocate, "allocation", ENOMEM, 1, 1 + row * step, kRows * step});
        all.push_back({Call::Allocate, "allocation", ENOMEM, support::kUntilReleased,
                       1 + row * step * lasting, kRows * step * lasting});
    }
    return all;
}

void expectRecovery(const std::vector<Scenario>& scenarios, const std::vector<Failing>& failing,
                    std::size_t leastFaults) {
    const fs::path library = support::testDirectory() / "libeventcbutil.so";
    if (!fs::exists(library)) {
        fs::create_symlink(SYSCONF_EVENT_LIBRARY, library);
    }
    const fs::path directory =
        support::testDirectory() / testing::UnitTest::GetInstance()->current_test_info()->name();
    const Undisturbed undisturbed = observe(directory / "undisturbed" / "1");
    Processes processes;
    // First without a fault: records the number of calls and checks the scenario.
    SharedReports controls(scenarios.size());
    for (std::size_t i = 0; i < scenarios.size(); ++i) {
        processes.start([&, i] {
            tryOne(scenarios[i], {Call::Allocate, "no fault", 0, 0}, 1, undisturbed,
                   directory / "control" / std::to_string(i), controls[i]);
        });
    }
    processes.waitForAll();
    SharedReports reports(scenarios.size() * failing.size());
    std::size_t row = 0;
    for (std::size_t i = 0; i < scenarios.size(); ++i) {
        EXPECT_EQ(controls[i].problems, 0U) << controls[i].text.data();
        for (const Failing& one : failing) {
            const std::size_t calls = controls[i].calls[static_cast<std::size_t>(one.call)];
            if (one.from <= calls) {
                processes.start([&, i, row] {
                    tryAll(scenarios[i], one, calls, undisturbed, directory / std::to_string(row),
                           reports[row]);
                });
            }
            ++row;
        }
    }
    processes.waitForAll();
    std::size_t injected = 0;
    std::size_t problems = 0;
    long slowest = 0;
    for (std::size_t i = 0; i < row; ++i) {
        injected += reports[i].injected;
        problems += reports[i].problems;
        slowest = std::max(slowest, reports[i].slowestRecovery);
        EXPECT_EQ(reports[i].problems, 0U) << reports[i].text.data();
    }
    std::cout << injected << " faults, " << problems << " without recovery, slowest recovery "
              << slowest << " ms\n";
    EXPECT_GE(injected, leastFaults);
}

} // namespace faults
