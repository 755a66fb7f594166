// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class Process {
public:
    explicit Process(const fs::path& folder, const std::string& instance = "p1")
        : m_running(support::Command("/bin/sh", {"-c", "echo $$; read line <\"$0\"", fifo()})
                        .workingDirectory(folder)
                        .variable("PROCESS_INSTANCE_ID", instance)
                        .start()) {
        m_running.waitForOutput("\n");
    }

    std::string id() const { return m_running.output().substr(0, m_running.output().find('\n')); }

private:
    /// A pipe without a writer. Opening it blocks the shell without an exec, during which the
    /// process would have no environment.
    static std::string fifo() {
        const std::string path = support::testDirectory() / "fifo";
        ::mkfifo(path.c_str(), 0600);
        return path;
    }

    support::RunningCommand m_running;
};

fs::path folderWithRelativePaths() {
    const fs::path folder = support::testDirectory() / "site";
    support::writeFile(folder / "etc/app.json", R"({"processes": {
        "p1": {"nodeId": "n1", "local": {"port": 41}}, "p2": {"local": {"port": 42}}}})");
    support::writeFile(folder / "root/etc/sysconf/nodelist.json",
                       R"({"nodeList": {"n1": {"assignedToTenancy": "t"}}})");
    support::setEnvironment("APP_CONF_FILE", "etc/app.json");
    support::setEnvironment("APP_ROOT", "root");
    support::setEnvironment("TOLM_ROOT", nullptr);
    return folder;
}

support::CommandResult runElsewhere(std::vector<std::string> arguments) {
    for (const char* variable : {"APP_CONF_FILE", "APP_ROOT", "PROCESS_INSTANCE_ID"}) {
        support::setEnvironment(variable, nullptr);
    }
    support::setEnvironment("TOLM_ROOT", "/nowhere");
    return tool::sysconfctl(std::move(arguments)).workingDirectory("/").run();
}

TEST(Pid, EnvironmentAndWorkingDirectory_AreThoseOfTheProcess) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder);
    EXPECT_EQ(runElsewhere({"get", "local-port", "--pid", process.id()}).output, "41\n");
    EXPECT_EQ(runElsewhere({"--pid", process.id(), "get", "product-name"}).output, "t\n");
    EXPECT_EQ(runElsewhere({"get", "app-root", "--pid", process.id()}).output, "root\n");
    EXPECT_THAT(runElsewhere({"show", "-o", "plain", "--pid", process.id()}).output,
                HasSubstr("local-port\t41\n"));
    EXPECT_THAT(runElsewhere({"nodes", "-o", "plain", "--pid", process.id()}).output,
                HasSubstr("n1\t\tt\tthis\t"));
    EXPECT_THAT(runElsewhere({"map", "-o", "plain", "--pid", process.id()}).output,
                HasSubstr("node\tt\tn1"));
    // TOLM_ROOT is not set in the process.
    EXPECT_EQ(runElsewhere({"explain", "all-float-ip", "x", "--pid", process.id()}).exitStatus, 1);
    EXPECT_THAT(runElsewhere({"explain", "all-float-ip", "x", "--pid", process.id()}).output,
                HasSubstr("TOLM_ROOT is not set"));
}

TEST(Pid, VariablesThatAreSet_ApplyAfterIt) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder);
    EXPECT_EQ(runElsewhere(
                  {"get", "local-port", "--pid", process.id(), "--set", "PROCESS_INSTANCE_ID=p2"})
                  .output,
              "42\n");
}

TEST(Pid, PathsInTheOutput_AreValidInTheDirectoryOfTheCaller) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder);
    const std::string app = (folder / "etc/app.json").string();
    const Json::Value json = tool::parsed(
        runElsewhere({"explain", "local-port", "-o", "json", "--pid", process.id()}).output);
    for (const Json::Value& step : json["explanations"][0]["steps"]) {
        if (step.isMember("file")) {
            EXPECT_EQ(step["file"], app);
        }
    }
    EXPECT_THAT(runElsewhere({"explain", "local-port", "--pid", process.id()}).output,
                HasSubstr(app.substr(1) + ":2:"));
    fs::remove(folder / "etc/app.json");
    EXPECT_THAT(runElsewhere({"nodes", "--pid", process.id()}).errors,
                HasSubstr(app + ": No such file"));
}

TEST(Pid, OperandsOfTheCaller_StartAtItsDirectory) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder);
    const auto result = tool::sysconfctl({"check", "ha-pair", "--pid", process.id()})
                            .workingDirectory(tool::samplesDirectory())
                            .run();
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("no problem found in 5 files"));
    const auto report = tool::sysconfctl({"report", "-o", "page.html", "--pid", process.id()})
                            .workingDirectory(support::testDirectory())
                            .run();
    EXPECT_EQ(report.exitStatus, 0) << report.errors;
    EXPECT_THAT(tool::readFile(support::testDirectory() / "page.html"),
                AllOf(HasSubstr("p1 (process " + process.id() + ")"), HasSubstr("41")));
    EXPECT_FALSE(fs::exists(folder / "page.html"));
}

TEST(Pid, TwoProcesses_AreCompared) {
    const fs::path folder = folderWithRelativePaths();
    const Process one(folder);
    const Process other(folder, "p2");
    const auto result =
        runElsewhere({"diff", "--pid", one.id(), "--pid", other.id(), "local-port"});
    EXPECT_EQ(result.exitStatus, 1) << result.errors;
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("- process " + one.id() + "\n+ process " + other.id() + "\n"),
                      HasSubstr("  - 41\n"), HasSubstr("  + 42\n"),
                      HasSubstr((folder / "etc/app.json").string().substr(1) + ":2:")));
    const auto mixed =
        tool::sysconfctl({"diff", "ha-pair/master.env", "local-port", "--pid", one.id()})
            .workingDirectory(tool::samplesDirectory())
            .run();
    EXPECT_EQ(mixed.exitStatus, 1) << mixed.errors;
    EXPECT_THAT(mixed.output, AllOf(HasSubstr("  - 41\n"), HasSubstr("  + 31000\n"),
                                    HasSubstr("ha-pair/node-1/etc/app.json:20")));
}

TEST(Pid, FileThatIsNewerThanTheProcess_IsANotice) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder);
    fs::last_write_time(folder / "root/etc/sysconf/nodelist.json",
                        fs::file_time_type::clock::now() + std::chrono::hours(1));
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"get", "local-port"}, {"explain", "local-port"}, {"show"}}) {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.end(), {"--pid", process.id()});
        const auto result = runElsewhere(arguments);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_THAT(
            result.errors,
            AllOf(HasSubstr("root/etc/sysconf/nodelist.json changed after process " + process.id() +
                            " started: the answer is for a process that "
                            "starts now"),
                  HasSubstr("may keep an older one until it reloads")))
            << command.front();
    }
    const auto json = runElsewhere({"get", "local-port", "-o", "json", "--pid", process.id()});
    EXPECT_THAT(json.errors, AllOf(HasSubstr(R"("kind":"notice")"),
                                   HasSubstr(R"("name":"newer-than-process")")));
    EXPECT_EQ(runElsewhere({"check", "--pid", process.id()}).errors, "");
}

TEST(Pid, FilesOlderThanTheProcess_AreNoNotice) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder);
    const auto result = runElsewhere({"get", "local-port", "--pid", process.id()});
    EXPECT_EQ(result.errors, "");
}

TEST(Pid, NoticesOfAProcess_AreOfEveryCommandThatShowsAnswers) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder);
    fs::last_write_time(folder / "etc/app.json",
                        fs::file_time_type::clock::now() + std::chrono::hours(1));
    const std::string notice = "app.json changed after process " + process.id() + " started";
    const fs::path file = support::testDirectory() / "x.env";
    support::writeFile(file, "");
    for (std::vector<std::string> arguments : std::vector<std::vector<std::string>>{
             {"report"}, {"who", "n1"}, {"diff", file.string()}}) {
        arguments.insert(arguments.end(), {"--pid", process.id()});
        const auto result = runElsewhere(arguments);
        EXPECT_THAT(result.errors, HasSubstr(notice)) << arguments.front();
        if (arguments.front() == "report") {
            EXPECT_THAT(result.output, HasSubstr(notice));
        }
    }
}

/// The second one of the loopback interface in this network namespace; "0.0.0.0" removes it.
bool setAddress(const char* address) {
    ifreq request{};
    std::strcpy(request.ifr_name, "lo:1");
    sockaddr_in inet{};
    inet.sin_family = AF_INET;
    ::inet_pton(AF_INET, address, &inet.sin_addr);
    std::memcpy(&request.ifr_addr, &inet, sizeof inet);
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool done = ::ioctl(socket, SIOCSIFADDR, &request) == 0;
    ::close(socket);
    return done;
}

TEST(Pid, ServiceAddressThatIsNewerThanTheProcess_IsANotice) {
    if (::unshare(CLONE_NEWNET) != 0) {
        GTEST_SKIP() << "this user may not create network namespaces";
    }
    const fs::path folder = folderWithRelativePaths();
    support::writeFile(folder / "root/etc/sysconf/nodelist.json", R"({"nodeList": {"n1": {
        "extAttr": {"hostType": "master"},
        "IPAddresses": [{"IP": "198.51.100.77", "usage": ["service"]}]}}})");
    ASSERT_TRUE(setAddress("198.51.100.77"));
    const Process process(folder);
    const std::vector<std::string> arguments = {"get", "local-port", "--pid", process.id()};
    EXPECT_EQ(runElsewhere(arguments).errors, "");
    // The kernel's time stamps of addresses may be older than those of processes.
    constexpr int kTries = 500;
    std::string errors;
    for (int i = 0; i < kTries && errors.empty(); ++i) {
        ASSERT_TRUE(setAddress("0.0.0.0"));
        ASSERT_TRUE(setAddress("198.51.100.78"));
        EXPECT_EQ(runElsewhere(arguments).errors, "") << "no node has this address";
        ASSERT_TRUE(setAddress("0.0.0.0"));
        ASSERT_TRUE(setAddress("198.51.100.77"));
        errors = runElsewhere(arguments).errors;
    }
    EXPECT_THAT(errors, HasSubstr("198.51.100.77, the service address of n1, was added to this "
                                  "host after process " +
                                  process.id() + " started"));
    std::vector<std::string> predicted = arguments;
    predicted.insert(predicted.end(), {"--local-address", "192.0.2.1"});
    EXPECT_EQ(runElsewhere(predicted).errors, "");
}

TEST(Pid, ProcessInAnotherNetwork_IsANotice) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder);
    if (::unshare(CLONE_NEWNET) != 0) {
        GTEST_SKIP() << "this user may not create network namespaces";
    }
    EXPECT_THAT(runElsewhere({"get", "local-port", "--pid", process.id()}).errors,
                HasSubstr("process " + process.id() + " is in another network namespace"));
}

TEST(Pid, InvalidProcessId_IsAUsageError) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"0", "0 is not the id of a process"},
        {"-1", "-1 is not the id of a process"},
        {"12x", "12x is not the id of a process"},
        {"self", "self is not the id of a process"},
        {"../1", "../1 is not the id of a process"},
        {"99999999999", "99999999999 is not the id of a process"},
        {"4194999", "there is no process 4194999"},
    };
    for (const auto& [id, message] : rows) {
        for (const std::vector<std::string>& command :
             std::vector<std::vector<std::string>>{{"show"},
                                                   {"get", "local-port"},
                                                   {"explain", "--all"},
                                                   {"check"},
                                                   {"nodes"},
                                                   {"map"},
                                                   {"who", "x"},
                                                   {"diff", "x"},
                                                   {"watch"}}) {
            std::vector<std::string> arguments = command;
            arguments.push_back("--pid=" + id);
            const auto result = runElsewhere(arguments);
            EXPECT_EQ(result.exitStatus, 2) << command.front() << id;
            EXPECT_THAT(result.errors, HasSubstr("--pid: " + message)) << command.front();
            EXPECT_EQ(result.output, "");
        }
    }
}

TEST(Pid, ProcessThatHasEnded_IsAUsageError) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    siginfo_t ended{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
    const auto result = runElsewhere({"show", "--pid", std::to_string(child)});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, HasSubstr("process " + std::to_string(child) +
                                         " has no environment: it has ended"));
    ::waitpid(child, nullptr, 0);
}

TEST(Pid, ProcessOfAnotherUser_IsAUsageError) {
    std::vector<std::string> arguments = {"show", "--pid"};
    support::CommandResult result;
    if (::geteuid() == 0) {
        arguments.push_back(std::to_string(::getpid()));
        arguments.insert(arguments.begin(),
                         {"--reuid=65534", "--regid=65534", "--clear-groups", SYSCONFCTL});
        // In a shell, because the helper of the tests uses 127 itself.
        constexpr const char* kScript = R"(setpriv "$@" || { s=$?; exit "${s/12[67]/77}"; })";
        arguments.insert(arguments.begin(), {"-c", kScript, "bash"});
        result = support::Command("/bin/bash", arguments).run();
        if (result.exitStatus == 77) {
            GTEST_SKIP() << "the build folder is closed to other users";
        }
    } else {
        arguments.emplace_back("1");
        result = tool::run(arguments);
    }
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, AllOf(HasSubstr("cannot be examined: Permission denied; run "
                                               "sysconfctl as its user or as root"),
                                     Not(HasSubstr("APP_CONF_FILE"))));
}

TEST(Pid, ProcessWithAnotherRootDirectory_IsAUsageError) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root may change the root directory";
    }
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const bool changed = ::chroot(support::testDirectory().c_str()) == 0;
        if (::write(ends[1], changed ? "y" : "n", 1) == 1) {
            ::pause();
        }
        ::_exit(0);
    }
    char changed = 0;
    ASSERT_EQ(::read(ends[0], &changed, 1), 1);
    ASSERT_EQ(changed, 'y');
    const std::string id = std::to_string(child);
    const auto result = runElsewhere({"show", "--pid", id});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, AllOf(HasSubstr("process " + id + " has another root directory"),
                                     HasSubstr("nsenter --target " + id + " --all")));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST(Pid, OtherEnvironmentBeside_IsAUsageError) {
    const std::string id = std::to_string(::getpid());
    for (const auto& [arguments, message] :
         std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"show", "--pid", id, "--env-file", "x"}, "both name an environment"},
             {{"--env-file", "x", "show", "--pid", id}, "both name an environment"},
             {{"show", "--pid", id, "--pid", id}, "one process only; diff compares two"},
             {{"diff", "--pid", id}, "diff takes two environments"}}) {
        const auto result = tool::run(arguments);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_THAT(result.errors, HasSubstr(message));
    }
}

TEST(Pid, Completion_OffersProcessesWithAConfigurationAndNamesOfIt) {
    const fs::path folder = folderWithRelativePaths();
    const Process process(folder, "p2");
    const auto offered = runElsewhere({"__complete", "zsh", "show", "--pid", ""});
    EXPECT_THAT(offered.output, HasSubstr("\n" + process.id() + "\tp2\n"));
    EXPECT_THAT(runElsewhere({"__complete", "zsh", "--pid", process.id(), "nodes", ""}).output,
                HasSubstr("n1\t"));
}

} // namespace
