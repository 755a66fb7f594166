// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

constexpr const char* kReporter = SYSCONF_SIGNAL_REPORTER;

std::vector<std::string> words(std::vector<std::string> options,
                               const std::vector<std::string>& program) {
    options.insert(options.begin(), "exec");
    options.emplace_back("--");
    options.insert(options.end(), program.begin(), program.end());
    return options;
}

support::Command exec(std::vector<std::string> options, const std::vector<std::string>& program) {
    support::Command command = tool::sysconfctl(words(std::move(options), program));
    command.variable("NO_EM_CLIENT", "1");
    return command;
}

/// The variables of `exec` in the output of `env -0`.
std::map<std::string, std::string> variablesIn(const std::string& output) {
    std::map<std::string, std::string> found;
    std::istringstream stream(output);
    for (std::string entry; std::getline(stream, entry, '\0');) {
        if (entry.starts_with("SYSCONF_") && !entry.starts_with("SYSCONF_TEST_")) {
            const std::size_t equals = entry.find('=');
            found[entry.substr(0, equals)] = entry.substr(equals + 1);
        }
    }
    return found;
}

std::map<std::string, std::string> environmentOf(const tool::View& view,
                                                 std::vector<std::string> options = {}) {
    options.insert(options.end(), {"--env-file", view.envFile().string()});
    const auto result = exec(std::move(options), {"/usr/bin/env", "-0"}).run();
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return variablesIn(result.output);
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
        ++found;
    }
    return found;
}

TEST(Exec, EachSample_GetsTheAnswersOfGet) {
    for (const tool::View& view : tool::views()) {
        std::map<std::string, std::string> expected;
        const Json::Value listed = tool::parsed(tool::run({"get", "--list", "-o", "json"}).output);
        for (const Json::Value& query : listed["queries"]) {
            const bool required =
                !query["arguments"].empty() && query["arguments"][0U]["required"].asBool();
            const std::string name = query["name"].asString();
            if (required || name == "all-db-info") {
                continue;
            }
            std::string variable = "SYSCONF_";
            for (const char c : name) {
                variable += c == '-' ? '_' : static_cast<char>(std::toupper(c));
            }
            const Json::Value reply =
                tool::parsed(tool::run(view, {"get", "-o", "json", name}).output);
            if (reply["answered"].asBool()) {
                Json::StreamWriterBuilder compact;
                compact["indentation"] = "";
                const Json::Value& value = reply["value"];
                expected[variable] =
                    value.isString() ? value.asString() : Json::writeString(compact, value);
            }
        }
        EXPECT_GT(expected.size(), 8U);
        EXPECT_EQ(environmentOf(view), expected) << view.name;
    }
}

TEST(Exec, Secret_IsThereOnlyIfRevealed) {
    support::setEnvironment("SYSCONF_ALL_DB_INFO", "inherited");
    EXPECT_FALSE(environmentOf(tool::kMaster).contains("SYSCONF_ALL_DB_INFO"));
    const auto revealed = environmentOf(tool::kMaster, {"--reveal-secrets"});
    EXPECT_EQ(tool::parsed(revealed.at("SYSCONF_ALL_DB_INFO"))["alarms"][0U]["accessPort"], 5432);
    const auto refused = exec({"--only", "all-db-info"}, {"/bin/true"}).run();
    EXPECT_EQ(refused.exitStatus, 2);
    EXPECT_THAT(refused.errors, HasSubstr("all-db-info is a secret, so it needs --reveal-secrets"));
}

TEST(Exec, NoAnswer_RemovesAnInheritedVariable) {
    support::setEnvironment("SYSCONF_LOCAL_SERVICE2_IP", "inherited");
    support::setEnvironment("SYSCONF_LOCAL_PORT", "inherited");
    const auto variables = environmentOf(tool::kMaster);
    EXPECT_FALSE(variables.contains("SYSCONF_LOCAL_SERVICE2_IP"));
    EXPECT_NE(variables.at("SYSCONF_LOCAL_PORT"), "inherited");
}

TEST(Exec, Only_LimitsTheVariables) {
    support::setEnvironment("SYSCONF_LOCAL_PORT", "inherited");
    const auto variables = environmentOf(
        tool::kMaster, {"--only", "local-service-ip", "getCorbaPort", "--only", "product-name"});
    EXPECT_EQ(variables, (std::map<std::string, std::string>{
                             {"SYSCONF_CORBA_PORT", "31500"},
                             {"SYSCONF_LOCAL_PORT", "inherited"},
                             {"SYSCONF_LOCAL_SERVICE_IP", "127.0.0.1"},
                             {"SYSCONF_PRODUCT_NAME", "core"},
                         }));
}

TEST(Exec, AnswersOfAnyBytes_ReachTheProgram) {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "n", "local": {"ip": "a\u0000b"}}}})");
    deployment.nodeList(R"({"nodeList": {"n": {"IPAddresses": [
        {"IP": " it's\n=\"\u001b ", "usage": ["service"]}]}}})");
    const auto result = exec({}, {"/usr/bin/env", "-0"}).run();
    const auto variables = variablesIn(result.output);
    EXPECT_EQ(variables.at("SYSCONF_LOCAL_SERVICE_IP"), " it's\n=\"\033 ");
    EXPECT_FALSE(variables.contains("SYSCONF_LOCALHOST_IP_ADDRESS"));
    EXPECT_THAT(result.errors, HasSubstr("localhost-ip-address contains a NUL byte"));
}

TEST(Exec, Words_ReachTheProgramVerbatim) {
    const auto result =
        exec({}, {"/usr/bin/printf", "<%s>", "[a]", "", "--", "-o", "json", "a b"}).run();
    EXPECT_EQ(result.output, "<[a]><><--><-o><json><a b>");
}

TEST(Exec, EndOfTheProgram_IsTheEndOfExec) {
    EXPECT_EQ(exec({}, {"/bin/sh", "-c", "exit 3"}).run().exitStatus, 3);
    EXPECT_EQ(exec({}, {"true"}).run().exitStatus, 0) << "found in PATH";
    for (const int number : {SIGTERM, SIGKILL, SIGSEGV, SIGHUP}) {
        const auto result =
            exec({}, {"/bin/sh", "-c", "kill -" + std::to_string(number) + " $$"}).run();
        EXPECT_EQ(result.signal, number);
        EXPECT_EQ(result.exitStatus, -1);
    }
}

TEST(Exec, ProgramThatCannotRun_Is126Or127) {
    const fs::path data = support::testDirectory() / "data";
    support::writeFile(data, "text");
    // In a shell, because the helper of the tests uses this status itself.
    const auto missing =
        support::Command("/bin/sh", {"-c", SYSCONFCTL " exec -- no-such-program; echo $?"}).run();
    EXPECT_EQ(missing.output, "127\n");
    EXPECT_THAT(missing.errors,
                HasSubstr("cannot run no-such-program: No such file or directory\n"));
    for (const fs::path& program : {data, support::testDirectory()}) {
        const auto result = exec({}, {program.string()}).run();
        EXPECT_EQ(result.exitStatus, 126);
        EXPECT_THAT(result.errors, HasSubstr(": Permission denied\n"));
    }
}

TEST(Exec, Misuse_IsAUsageError) {
    struct Row {
        std::vector<std::string> arguments;
        std::string message;
    };
    for (const Row& row : std::vector<Row>{
             {{"exec"}, "exec takes a program after --"},
             {{"exec", "--"}, "exec takes a program after --"},
             {{"exec", "true"}, "unexpected argument true"},
             {{"exec", "--only", "db-type", "--", "true"}, "db-type needs arguments"},
             {{"exec", "--only", "locl-port", "--", "true"}, "did you mean local-port?"},
             {{"exec", "--on-change", "SIGFROB", "--", "true"}, "SIGFROB is not restart, none or"},
             {{"exec", "-o", "json", "--", "true"}, "unknown option -o"}}) {
        const auto result = tool::run(row.arguments);
        EXPECT_EQ(result.exitStatus, 2) << testing::PrintToString(row.arguments);
        EXPECT_THAT(result.errors, HasSubstr(row.message));
    }
}

/// The blocked and the ignored signals in the text of /proc/self/status, without two internal ones
/// of the C library, which it ignores in every program that it spawns.
std::vector<unsigned long long> signalSets(const std::string& status) {
    constexpr unsigned long long kInternal = 3ULL << 31;
    std::vector<unsigned long long> found;
    for (const std::string& line : tool::linesOf(status)) {
        if (line.starts_with("SigBlk:") || line.starts_with("SigIgn:")) {
            found.push_back(std::stoull(line.substr(7), nullptr, 16) & ~kInternal);
        }
    }
    EXPECT_EQ(found.size(), 2U) << status;
    return found;
}

TEST(Exec, BlockedAndIgnoredSignals_AreThoseInherited) {
    const std::string tool = std::string(SYSCONFCTL) + " exec --only local-port -- ";
    for (const char* ignored : {"", "trap '' PIPE HUP TERM; "}) {
        const auto run = [&](const std::string& command) {
            return support::Command("/bin/sh", {"-c", ignored + command}).run().output;
        };
        EXPECT_EQ(signalSets(run(tool + "cat /proc/self/status")),
                  signalSets(run("cat /proc/self/status")))
            << ignored;
    }
}

TEST(Exec, Descriptors_AreThoseInherited) {
    const std::string list = "ls /proc/self/fd";
    const auto run = [](const std::string& command) {
        return support::Command("/bin/sh", {"-c", "exec 9</dev/null; " + command}).run().output;
    };
    const std::string inherited = run(list);
    EXPECT_THAT(inherited, HasSubstr("9\n"));
    EXPECT_EQ(run(std::string(SYSCONFCTL) + " exec -- " + list), inherited);
}

TEST(Exec, Program_IsInTheProcessGroupOfExec) {
    const auto result =
        exec({}, {"/bin/sh", "-c", "cut -d' ' -f5 /proc/$$/stat /proc/$PPID/stat"}).run();
    const auto groups = tool::linesOf(result.output);
    ASSERT_EQ(groups.size(), 2U) << result.errors;
    EXPECT_EQ(groups[0], groups[1]);
}

TEST(Exec, Signals_ArePassedOnOnce) {
    support::RunningCommand running = exec({}, {kReporter, "SYSCONF_LOCAL_PORT", "7"}).start();
    running.waitForOutput("started");
    const std::map<int, std::string> passed = {{SIGUSR1, "USR1"},
                                               {SIGUSR2, "USR2"},
                                               {SIGHUP, "HUP"},
                                               {SIGINT, "INT"},
                                               {SIGQUIT, "QUIT"},
                                               {SIGWINCH, "WINCH"},
                                               {SIGCONT, "CONT"},
                                               {SIGALRM, "ALRM"},
                                               {SIGPWR, "PWR"},
                                               {SIGTTIN, "TTIN"},
                                               {SIGTTOU, "TTOU"},
                                               {SIGURG, "URG"},
                                               {SIGRTMIN, std::to_string(SIGRTMIN)},
                                               {SIGRTMAX, std::to_string(SIGRTMAX)}};
    for (const auto& [number, name] : passed) {
        running.signal(number);
        running.waitForOutput("signal " + name + '\n');
    }
    running.signal(SIGTERM);
    const auto result = running.finish();
    EXPECT_EQ(result.exitStatus, 7);
    EXPECT_EQ(occurrences(result.output, "signal "), passed.size() + 1) << result.output;
}

/// The number after "tool " in the output.
pid_t toolIn(const std::string& output) {
    return std::stoi(output.substr(output.find("tool ") + 5));
}

char stateOf(pid_t process) {
    const std::string stat = tool::readFile("/proc/" + std::to_string(process) + "/stat");
    return stat.at(stat.rfind(')') + 2);
}

/// Starts the tool in a new process group. A group without a parent in another one is not stopped.
support::RunningCommand startedInAGroup(const std::vector<std::string>& program) {
    std::vector<std::string> arguments = {"-e", "$| = 1; print \"tool $$\\n\"; setpgrp; exec @ARGV",
                                          SYSCONFCTL};
    for (const std::string& word : words({}, program)) {
        arguments.push_back(word);
    }
    support::RunningCommand running =
        support::Command("/usr/bin/perl", arguments).variable("NO_EM_CLIENT", "1").start();
    running.waitForOutput("tool ");
    running.waitForOutput("started");
    return running;
}

TEST(Exec, StopSignal_IsPassedOnAndStopsTheToolUntilItContinues) {
    support::RunningCommand running = startedInAGroup({kReporter, "X", "0"});
    const pid_t process = toolIn(running.output());
    for (int round = 0; round < 2; ++round) {
        ::kill(process, SIGTSTP);
        while (stateOf(process) != 'T') {
            std::this_thread::yield();
        }
        ::kill(process, SIGCONT);
        running.waitForOutput("signal TSTP\nsignal CONT\n");
    }
    ::kill(process, SIGTERM);
    EXPECT_EQ(running.finish().exitStatus, 0);
}

TEST(Exec, StopSignalThatTheProgramHandles_DoesNotStopTheTool) {
    support::RunningCommand running =
        startedInAGroup({"/bin/sh", "-c",
                         "trap 'echo handled' TSTP; trap 'echo passed; exit 5' USR1; "
                         "echo started; while :; do sleep 0.01; done"});
    const pid_t process = toolIn(running.output());
    ::kill(process, SIGTSTP);
    running.waitForOutput("handled");
    ::kill(process, SIGUSR1);
    running.waitForOutput("passed");
    EXPECT_EQ(running.finish().exitStatus, 5);
}

/// Presses keys on the terminal of a tool that runs the reporter by these words.
void expectKeysOnce(const std::string& program) {
    const std::string keys = support::testDirectory() / "keys";
    ASSERT_EQ(::mkfifo(keys.c_str(), 0600), 0);
    support::RunningCommand running =
        support::Command("/bin/sh",
                         {"-c",
                          "exec script -qec 'echo tool $$; exec " SYSCONFCTL " exec -- " + program +
                              " X 3' /dev/null <\"$0\"",
                          keys})
            .variable("NO_EM_CLIENT", "1")
            .start();
    const int keyboard = ::open(keys.c_str(), O_WRONLY | O_CLOEXEC);
    running.waitForOutput("started");
    for (const auto& [key, name] : {std::pair("\003", "INT"), {"\034", "QUIT"}}) {
        ASSERT_EQ(::write(keyboard, key, 1), 1);
        running.waitForOutput(std::string("signal ") + name);
    }
    ::kill(toolIn(running.output()), SIGTERM);
    const auto result = running.finish();
    ::close(keyboard);
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(occurrences(result.output, "signal "), 3U) << result.output;
}

TEST(Exec, KeysOnTheTerminal_ReachTheProgramOnce) {
    expectKeysOnce(kReporter);
}

TEST(Exec, KeysOnTheTerminal_ReachAProgramInAnotherSession) {
    expectKeysOnce(std::string("setsid ") + kReporter);
}

/// Starts the reporter with the southbound addresses, which are read on every call.
support::RunningCommand startedReporter(std::vector<std::string> options,
                                        const std::string& status = "0") {
    options.insert(options.end(), {"--only", "local-south-ip"});
    support::RunningCommand running =
        exec(std::move(options), {kReporter, "SYSCONF_LOCAL_SOUTH_IP", status}).start();
    running.waitForOutput("started ");
    return running;
}

TEST(Exec, Change_RestartsTheProgramWithTheNewAnswers) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running = startedReporter({});
    support::writeGeneration(deployment, 2);
    running.waitForOutput("ended\nstarted ");
    running.signal(SIGTERM);
    const auto result = running.finish();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "started 10.1.1.3\nsignal TERM\nended\n"
                             "started 10.2.1.3\nsignal TERM\nended\n");
    EXPECT_THAT(result.errors, HasSubstr("sysconfctl: changed: SYSCONF_LOCAL_SOUTH_IP\n"));
}

TEST(Exec, RestartThatCannotStart_IsReportedOnce) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    const fs::path program = support::testDirectory() / "program";
    fs::copy_file(kReporter, program);
    support::RunningCommand running =
        exec({"--only", "local-south-ip"}, {program.string(), "X", "0"}).start();
    running.waitForOutput("started ");
    fs::remove(program);
    support::writeGeneration(deployment, 2);
    running.waitForErrors("it is started again in 2 s\n");
    running.signal(SIGTERM);
    EXPECT_EQ(occurrences(running.finish().errors, "it is started again in 1 s\n"), 1U);
}

TEST(Exec, SignalInheritedAsIgnored_IsNotPassedOnAndDoesNotEndRestarts) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running =
        support::Command("/bin/sh", {"-c", "trap '' INT; exec " SYSCONFCTL
                                           " exec --only local-south-ip -- " SYSCONF_SIGNAL_REPORTER
                                           " SYSCONF_LOCAL_SOUTH_IP 0"})
            .variable("NO_EM_CLIENT", "1")
            .start();
    running.waitForOutput("started ");
    running.signal(SIGINT);
    support::writeGeneration(deployment, 2);
    running.waitForOutput("ended\nstarted ");
    running.signal(SIGTERM);
    EXPECT_EQ(running.finish().output, "started 10.1.1.3\nsignal TERM\nended\n"
                                       "started 10.2.1.3\nsignal TERM\nended\n");
}

/// Until the lease ends, the kernel delays other processes that open the file.
class Lease {
public:
    explicit Lease(const fs::path& file)
        : m_file(file), m_descriptor(::open(file.c_str(), O_RDWR | O_CLOEXEC)) {
        ::sigemptyset(&m_opened);
        ::sigaddset(&m_opened, SIGIO);
        ::pthread_sigmask(SIG_BLOCK, &m_opened, nullptr);
        while (::fcntl(m_descriptor, F_SETLEASE, F_WRLCK) != 0) {
            if (errno != EAGAIN) { // open elsewhere
                throw std::system_error(errno, std::generic_category(), "F_SETLEASE");
            }
        }
    }
    ~Lease() { ::close(m_descriptor); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    void waitForOpen() const {
        int number = 0;
        ::sigwait(&m_opened, &number);
    }
    /// False if the kernel has ended it.
    bool lasts() const {
        const int descriptor = ::open(m_file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        const bool opened = descriptor >= 0 || errno != EWOULDBLOCK;
        ::close(descriptor);
        return !opened;
    }

private:
    fs::path m_file;
    int m_descriptor;
    sigset_t m_opened{};
};

TEST(Exec, FileThatHangs_DelaysNeitherSignalsNorTheEnd) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running = startedReporter({}, "5");
    const Lease lease(deployment.nodeListPath());
    lease.waitForOpen();
    running.signal(SIGUSR1);
    running.waitForOutput("signal USR1\n");
    running.signal(SIGTERM);
    EXPECT_EQ(running.finish().exitStatus, 5);
    EXPECT_TRUE(lease.lasts());
}

TEST(Exec, ListThatIsCutAtOneComparison_RestartsNothing) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running = startedReporter({});
    const fs::path list = deployment.nodeListPath();
    const std::string whole = tool::readFile(list);
    const fs::path cut = support::testDirectory() / "cut";
    support::writeFile(cut, whole.substr(0, whole.size() / 2));
    {
        const Lease lease(cut);
        fs::rename(cut, list);
        lease.waitForOpen();
        support::writeFile(list, whole);
    }
    Lease(list).waitForOpen();
    Lease(list).waitForOpen(); // the comparison before is over
    running.signal(SIGTERM);
    EXPECT_EQ(running.finish().output, "started 10.1.1.3\nsignal TERM\nended\n");
}

TEST(Exec, OnChangeSignal_SendsItAndKeepsTheProgram) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    for (const char* name : {"USR2", "SIGHUP"}) {
        support::RunningCommand running = startedReporter({"--on-change", name});
        support::writeGeneration(deployment, name[0] == 'U' ? 2 : 1);
        running.waitForOutput(std::string("signal ") + (name[0] == 'U' ? "USR2" : "HUP"));
        running.signal(SIGTERM);
        EXPECT_EQ(occurrences(running.finish().output, "started"), 1U);
    }
}

TEST(Exec, OnChangeNone_KeepsTheProgram) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running = startedReporter({"--on-change", "none"});
    support::RunningCommand restarting = startedReporter({});
    support::writeGeneration(deployment, 2);
    restarting.waitForOutput("ended\nstarted ");
    running.signal(SIGTERM);
    EXPECT_EQ(occurrences(running.finish().output, "signal"), 1U);
    restarting.signal(SIGTERM);
    EXPECT_EQ(restarting.finish().exitStatus, 0);
}

TEST(Exec, ProgramThatIgnoresSigterm_IsKilledAndStartedAgain) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running = startedReporter({}, "never");
    support::writeGeneration(deployment, 2);
    running.waitForErrors("has not ended 10 s after SIGTERM; it gets SIGKILL\n");
    running.waitForOutput("signal TERM\nsignal CONT\nstarted ");
}

TEST(Exec, ProgramThatFailsAfterARestart_IsStartedAgainAfterAPause) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    const std::string script = "echo x >>runs; n=$(wc -l <runs); echo \"run $n\"; "
                               "[ \"$n\" != 2 ] || exit 5; exec " +
                               std::string(kReporter) + " SYSCONF_LOCAL_SOUTH_IP 0";
    support::RunningCommand running = exec({"--only", "local-south-ip"}, {"/bin/sh", "-c", script})
                                          .workingDirectory(support::testDirectory())
                                          .start();
    running.waitForOutput("run 1\nstarted ");
    support::writeGeneration(deployment, 2);
    running.waitForErrors("failed soon after its restart; it is started again in 1 s\n");
    running.waitForOutput("run 2\nrun 3\nstarted ");
    running.signal(SIGTERM);
    EXPECT_EQ(running.finish().exitStatus, 0);
}

support::Command execBesideEventLibrary(const std::vector<std::string>& program) {
    const fs::path library = support::testDirectory() / "events";
    fs::create_directories(library);
    fs::copy_file(SYSCONF_LOGGING_EVENT_LIBRARY, library / "libeventcbutil.so",
                  fs::copy_options::overwrite_existing);
    return tool::sysconfctl(words({}, program)).variable("LD_LIBRARY_PATH", library.string());
}

TEST(Exec, LibraryThatThrows_StartsNothing) {
    const auto result =
        execBesideEventLibrary({"/bin/echo", "started"}).variable("EVENT_THROWS", "1").run();
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("local-port: the library threw: "));
}

TEST(Exec, EventLibraryThatHangs_DoesNotKeepItFromEnding) {
    for (const int number : {SIGTERM, SIGINT, SIGQUIT}) {
        support::RunningCommand running =
            execBesideEventLibrary({"/bin/true"}).variable("EVENT_HANGS", "init").start();
        running.waitForErrors("init hangs");
        running.signal(number);
        EXPECT_EQ(running.finish().signal, number);
    }
    const auto result =
        execBesideEventLibrary({"/bin/sh", "-c", "exit 3"}).variable("EVENT_HANGS", "fini").run();
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.errors, HasSubstr("fini hangs"));
}

/// The words that run a command as the first process of a namespace, empty if that is not allowed.
std::vector<std::string> inNamespace() {
    std::vector<std::string> unshare = {"--pid", "--fork", "--mount-proc"};
    if (::geteuid() != 0) {
        unshare.insert(unshare.begin(), "--map-root-user");
    }
    std::vector<std::string> trial = unshare;
    trial.emplace_back("/bin/true");
    const bool allowed = support::Command("/usr/bin/unshare", trial).run().exitStatus == 0;
    return allowed ? unshare : std::vector<std::string>{};
}

support::CommandResult runAsInit(std::vector<std::string> unshare, const std::string& script) {
    unshare.emplace_back(SYSCONFCTL);
    for (const std::string& word : words({}, {"/bin/sh", "-c", script})) {
        unshare.push_back(word);
    }
    return support::Command("/usr/bin/unshare", unshare).run();
}

TEST(Exec, AsInitProcess_ReapsOrphansAndPassesSignals) {
    const std::vector<std::string> unshare = inNamespace();
    if (unshare.empty()) {
        GTEST_SKIP() << "no permission for a process namespace";
    }
    const auto reaped = runAsInit(unshare, "echo $PPID; orphan=$(true >/dev/null & echo $!); "
                                           "while [ -e /proc/$orphan ]; do sleep 0.01; done; "
                                           "echo reaped; exit 4");
    EXPECT_EQ(reaped.output, "1\nreaped\n") << reaped.errors;
    EXPECT_EQ(reaped.exitStatus, 4);
    const auto passed = runAsInit(unshare, "trap 'echo passed; exit 6' TERM; kill -TERM 1; "
                                           "while :; do sleep 0.01; done");
    EXPECT_EQ(passed.output, "passed\n") << passed.errors;
    EXPECT_EQ(passed.exitStatus, 6);
    EXPECT_EQ(runAsInit(unshare, "kill -KILL $$").exitStatus, 128 + SIGKILL);
}

} // namespace
