// SPDX-License-Identifier: Apache-2.0

#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/HostAddresses.h"
#include "support/Operations.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <locale>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using operations::Answers;

using Possessions = std::map<std::string, std::string>;

std::string handlerOf(int signal) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0) {
        return "none";
    }
    return std::to_string(action.sa_flags) + " " +
           std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler));
}

Possessions possessions() {
    Possessions all;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the iterator's own descriptor
        const fs::path target = fs::read_symlink(entry.path(), gone);
        if (target.string().find("/proc/") == std::string::npos && !gone) {
            all["descriptor " + entry.path().filename().string()] = target;
        }
    }
    for (char** variable = environ; *variable != nullptr; ++variable) {
        all["environment"] += std::string(*variable) + "\n";
    }
    sigset_t blocked{};
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal) {
        all["signal " + std::to_string(signal)] =
            handlerOf(signal) + (::sigismember(&blocked, signal) == 1 ? " blocked" : "");
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    all["umask"] = std::to_string(mask);
    all["working directory"] = fs::current_path();
    all["C locale"] = std::setlocale(LC_ALL, nullptr);
    all["C++ locale"] = std::locale().name();
    for (const int timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
        itimerval value{};
        ::getitimer(static_cast<__itimer_which_t>(timer), &value);
        all["timer " + std::to_string(timer)] = std::to_string(value.it_value.tv_sec);
    }
    all["threads"] = std::to_string(std::distance(fs::directory_iterator("/proc/self/task"), {}));
    return all;
}

void callEverything() {
    for (const operations::Operation& operation : operations::all()) {
        operations::prepare(operation);
        operations::Outputs outputs = operations::outputs();
        operation.call(outputs);
    }
    operations::destroyAll();
}

class Manners : public testing::Test {
protected:
    Manners() {
        support::setHostAddresses({operations::kSourceAddress});
        support::installEventLibrary("recording");
        operations::writeFiles(files, "standby");
    }

    void callEverythingWellAndBadly() {
        callEverything();
        for (const fs::path& path : operations::paths(files)) {
            for (const char* text : {"", "{", "[1,2]", R"({"nodeList":7,"databases":"x"})",
                                     R"({"nodeList":{"":[]},"processes":{"p1":[]}})"}) {
                support::writeFile(path, text);
                callUnlessItThrows();
            }
            fs::remove(path);
            fs::create_directory(path);
            callUnlessItThrows();
            fs::remove(path);
            callUnlessItThrows();
        }
        support::setInitResult(-1);
        callEverything();
        support::setInitResult(0);
    }

    /// With the fault, some database queries throw.
    static void callUnlessItThrows() {
        operations::reloadAll();
        operations::answers();
        operations::destroyAll();
    }

    support::Deployment files;
};

TEST_F(Manners, PasswordOfAWrongType_IsNotInTheException) {
    for (const char* password : {R"({"hidden":"s3cret"})", R"(["s3cret"])", R"({"s3cret":null})"}) {
        files.appConfig(R"({"databases":{"a database with a long name":[{"passwd":)" +
                        std::string(password) + R"(,"accessPort":"s3cret","type":["s3cret"],
                        "instanceExt":"s3cret"}]},"processes":{"p1":{"local":{"port":"s3cret"}}}})");
        std::size_t thrown = 0;
        for (const auto& [symbol, answer] : operations::answers()) {
            if (answer.starts_with("throws")) {
                EXPECT_THAT(answer, testing::Not(testing::HasSubstr("s3cret"))) << symbol;
                ++thrown;
            }
        }
        EXPECT_EQ(thrown, 4U) << password;
        operations::destroyAll();
    }
}

class SilentOutputs {
public:
    SilentOutputs() {
        const std::string name = support::testDirectory() / "output";
        const int file = ::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_APPEND, 0600);
        for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
            m_saved[static_cast<std::size_t>(descriptor)] =
                ::fcntl(descriptor, F_DUPFD_CLOEXEC, 100);
            ::dup2(file, descriptor);
        }
        ::close(file);
    }
    SilentOutputs(const SilentOutputs&) = delete;
    SilentOutputs& operator=(const SilentOutputs&) = delete;
    ~SilentOutputs() {
        for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
            ::dup2(m_saved[static_cast<std::size_t>(descriptor)], descriptor);
            ::close(m_saved[static_cast<std::size_t>(descriptor)]);
        }
    }
    static std::size_t written() {
        std::fflush(nullptr);
        return fs::file_size(support::testDirectory() / "output");
    }

private:
    std::array<int, 3> m_saved{};
};

TEST_F(Manners, EveryOperationWithAndWithoutFaults_WritesNothing) {
    std::fflush(nullptr);
    std::size_t written = 99;
    {
        const SilentOutputs outputs;
        callEverythingWellAndBadly();
        written = SilentOutputs::written();
    }
    EXPECT_EQ(written, 0U);
}

TEST_F(Manners, EveryOperationWithAndWithoutFaults_LeavesTheProcessUnchanged) {
    // The first use loads the event library, which may keep resources.
    operations::createAll();
    const Possessions before = possessions();
    ASSERT_GT(before.size(), 70U);
    callEverythingWellAndBadly();
    EXPECT_EQ(possessions(), before);
}

TEST_F(Manners, EveryOperation_DoesNotSetErrnoToZero) {
    for (const operations::Operation& operation : operations::all()) {
        operations::prepare(operation);
        operations::Outputs outputs = operations::outputs();
        errno = ENOTTY;
        operation.call(outputs);
        EXPECT_NE(errno, 0) << operation.name;
    }
}

TEST_F(Manners, EveryOpenedFile_IsCloseOnExec) {
    callEverythingWellAndBadly();
    std::set<std::string> opened;
    for (const support::OpenCall& call : support::openCalls()) {
        EXPECT_TRUE(call.closeOnExec) << call.path;
        opened.insert(fs::path(call.path).filename());
    }
    EXPECT_THAT(opened, testing::ElementsAre("app.json", "nodelist.json", "nodelists.json"));
}

TEST_F(Manners, StandardDescriptorsClosed_AnswersAreTheSame) {
    const Answers expected = operations::answers();
    operations::destroyAll();
    std::fflush(nullptr);
    std::array<int, 3> saved{};
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        saved[static_cast<std::size_t>(descriptor)] = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 100);
        ::close(descriptor);
    }
    const Answers first = operations::answers();
    operations::reloadAll();
    const Answers again = operations::answers();
    std::array<bool, 3> closed{};
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        closed[static_cast<std::size_t>(descriptor)] = ::fcntl(descriptor, F_GETFD) == -1;
        ::dup2(saved[static_cast<std::size_t>(descriptor)], descriptor);
        ::close(saved[static_cast<std::size_t>(descriptor)]);
    }
    EXPECT_THAT(closed, testing::Each(true));
    EXPECT_EQ(operations::differences(first, expected), "");
    EXPECT_EQ(operations::differences(again, expected), "");
}

class DescriptorsUsedUp {
public:
    DescriptorsUsedUp() {
        ::getrlimit(RLIMIT_NOFILE, &m_limit);
        rlimit low = m_limit;
        low.rlim_cur = std::min<rlim_t>(low.rlim_cur, 256);
        ::setrlimit(RLIMIT_NOFILE, &low);
        for (;;) {
            const int taken = ::fcntl(0, F_DUPFD_CLOEXEC, 0);
            if (taken < 0) {
                break;
            }
            m_taken.push_back(taken);
        }
    }
    DescriptorsUsedUp(const DescriptorsUsedUp&) = delete;
    DescriptorsUsedUp& operator=(const DescriptorsUsedUp&) = delete;
    ~DescriptorsUsedUp() {
        for (const int taken : m_taken) {
            ::close(taken);
        }
        ::setrlimit(RLIMIT_NOFILE, &m_limit);
    }

private:
    rlimit m_limit{};
    std::vector<int> m_taken;
};

TEST_F(Manners, DescriptorsUsedUp_AnswersAsWithoutFiles) {
    const fs::path aside = support::testDirectory() / "aside";
    fs::rename(files.appConfigPath(), aside);
    fs::rename(files.appRoot(), aside.string() + "-app");
    fs::rename(files.managerRoot(), aside.string() + "-manager");
    support::setInitResult(-1);
    const Answers without = operations::answers();
    operations::destroyAll();
    support::setInitResult(0);
    fs::rename(aside, files.appConfigPath());
    fs::rename(aside.string() + "-app", files.appRoot());
    fs::rename(aside.string() + "-manager", files.managerRoot());
    Answers first;
    Answers again;
    {
        const DescriptorsUsedUp none;
        first = operations::answers();
        operations::reloadAll();
        again = operations::answers();
    }
    EXPECT_EQ(operations::differences(first, without), "");
    EXPECT_EQ(operations::differences(again, without), "");
    operations::reloadAll();
    const Answers after = operations::answers();
    operations::destroyAll();
    EXPECT_EQ(operations::differences(after, operations::answers()), "");
    EXPECT_TRUE(support::subscribed());
}

TEST_F(Manners, DescriptorsUsedUpBetweenTwoLoads_LoadedValuesAreKept) {
    const Answers before = operations::answers();
    Answers during;
    {
        const DescriptorsUsedUp none;
        during = operations::answers();
        operations::reloadAll();
    }
    for (const char* loaded :
         {"SysConfReader::getLocalPort", "SysConfReader::getMaintenanceIPAddress",
          "SysConfReader::getDBPassword", "SysConfReaderImpl::GetProductName",
          "SysConfReader_i::GetMasterInternalServiceIP"}) {
        EXPECT_EQ(during.at(loaded), before.at(loaded));
    }
    EXPECT_EQ(during.at("SysConfReader::getLocalIPByUsage"), operations::Outputs().toText());
    EXPECT_EQ(operations::answers().at("SysConfReader::getLocalPort"),
              before.at("SysConfReader::getLocalPort"));
}

void writeNumbers(support::Deployment& files) {
    const std::string nodes = R"({"nodeList":{"1234567.5":{
        "a member of the nodes by which they are selected":"any","assignedToTenancy":7654321.25,
        "extAttr":{"HOSTID":1234567890123,"hostType":1.5,"domain_node_type":-0.000125},
        "IPAddresses":[{"IP":98765.4321,"usage":["maintenance","northbound1000",
                        "southbound1000","a tag that the caller asks for"]},
                       {"IP":1e300,"usage":["internal_service","service"]}]}}})";
    files
        .appConfig(R"({"databases":{"a database with a long name":[{"accessPort":1234567,
            "type":1234.5,"user":1e100,"passwd":0.1,"serviceName":18446744073709551615,
            "serverName":-9223372036854775808,"accessHost":true,"instanceExt":{"lib":12345.678}}]},
            "processes":{"p1":{"nodeId":1234567.5,"IR":{"ip":1000000},"local":{"ip":3.25,
            "port":40000},"wss":{"ip":1e-7,"port":50000.0}}}})")
        .nodeList(nodes)
        .managerNodeList(nodes);
}

struct DecimalComma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(Manners, DecimalCommaInBothLocales_AnswersAreTheSame) {
    writeNumbers(files);
    const Answers expected = operations::answers();
    EXPECT_NE(expected.at("SysConfReader::getDBType").find("\"1234.5\""), std::string::npos);
    operations::destroyAll();

    support::setEnvironment("LOCPATH", SYSCONF_TEST_LOCALES);
    std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    std::ostringstream grouped;
    grouped << 1234567 << " " << 0.5;
    ASSERT_EQ(grouped.str(), "1.234.567 0,5");

    const Answers first = operations::answers();
    operations::reloadAll();
    const Answers again = operations::answers();
    operations::destroyAll();
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
    std::locale::global(std::locale::classic());
    EXPECT_EQ(operations::differences(first, expected), "");
    EXPECT_EQ(operations::differences(again, expected), "");
}

} // namespace
