// SPDX-License-Identifier: Apache-2.0
#include "sysconfsync/Etcd.h"

#include "cli/FileBytes.h"
#include "etcd/Client.h"
#include "support/Command.h"
#include "support/TestDirectory.h"

#include <fmt/format.h>
#include <json/json.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace support {
namespace {

namespace fs = std::filesystem;

constexpr const char* kEtcd = "/usr/bin/etcd";
constexpr const char* kEtcdctl = "/usr/bin/etcdctl";
constexpr std::chrono::seconds kLimit{120};

/// An address of the loopback interface that no other test has, so that no client of one test
/// reaches a member of another. The number of a process has at most 22 bits.
std::string ownAddress() {
    const pid_t process = ::getpid();
    return fmt::format("127.{}.{}.{}", 64 + (process >> 16), process >> 8 & 255, process & 255);
}

/// Below the ports that the kernel gives to outgoing connections.
std::string url(bool tls, std::size_t port) {
    return fmt::format("{}://{}:{}", tls ? "https" : "http", ownAddress(), 23790 + port);
}

fs::path tlsFile(const char* name) {
    return testDirectory() / "tls" / name;
}

/// One certificate is authority, server and client.
void makeCertificate() {
    fs::create_directories(testDirectory() / "tls");
    const CommandResult made =
        Command("/usr/bin/openssl",
                {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-keyout",
                 tlsFile("key.pem"), "-out", tlsFile("cert.pem"), "-subj", "/CN=localhost",
                 "-addext", "subjectAltName=IP:" + ownAddress(), "-addext",
                 "extendedKeyUsage=serverAuth,clientAuth"})
            .run();
    if (made.exitStatus != 0) {
        throw std::runtime_error("openssl: " + made.errors);
    }
}

template <typename Question>
void waitUntil(const Question& question) {
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (!question()) {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("etcd does not reach the expected state");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace

Etcd::Etcd(EtcdSettings settings) : m_settings(std::move(settings)) {
    if (m_settings.tls) {
        makeCertificate();
    }
    for (std::size_t i = 0; i < m_settings.members; ++i) {
        m_members.push_back({-1, url(m_settings.tls, 2 * i), url(false, 2 * i + 1),
                             testDirectory() / ("etcd-" + std::to_string(i))});
        fs::remove_all(m_members.back().folder);
        fs::create_directories(m_members.back().folder);
    }
    startAll();
}

Etcd::~Etcd() {
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        kill(i);
    }
}

bool Etcd::isInstalled() {
    return ::access(kEtcd, X_OK) == 0 && ::access(kEtcdctl, X_OK) == 0;
}

void Etcd::startAll() {
    for (Member& member : m_members) {
        startMember(member);
    }
    for (Member& member : m_members) {
        waitUntilHealthy(member);
    }
}

void Etcd::startMember(Member& member) const {
    std::string cluster;
    for (const Member& one : m_members) {
        cluster += (cluster.empty() ? "" : ",") + one.folder.filename().string() + '=' + one.peer;
    }
    std::vector<std::string> arguments = {kEtcd,
                                          "--name",
                                          member.folder.filename(),
                                          "--data-dir",
                                          member.folder / "data",
                                          "--listen-client-urls",
                                          member.endpoint,
                                          "--advertise-client-urls",
                                          member.endpoint,
                                          "--listen-peer-urls",
                                          member.peer,
                                          "--initial-advertise-peer-urls",
                                          member.peer,
                                          "--initial-cluster",
                                          cluster};
    if (m_settings.tls) {
        arguments.insert(arguments.end(),
                         {"--cert-file", tlsFile("cert.pem"), "--key-file", tlsFile("key.pem"),
                          "--client-cert-auth", "--trusted-ca-file", tlsFile("cert.pem")});
    }
    arguments.insert(arguments.end(), m_settings.arguments.begin(), m_settings.arguments.end());
    std::vector<char*> words;
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    const std::string log = member.folder / "log";
    const pid_t parent = ::getpid();
    member.process = ::fork();
    if (member.process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        if (::getppid() == parent && output >= 0 && ::dup2(output, STDOUT_FILENO) >= 0 &&
            ::dup2(output, STDERR_FILENO) >= 0) {
            ::execv(kEtcd, words.data());
        }
        ::_exit(127);
    }
}

void Etcd::waitUntilHealthy(Member& member) const {
    sysconfsync::Connection only = connection();
    only.endpoints = {member.endpoint};
    waitUntil([&] {
        if (::waitpid(member.process, nullptr, WNOHANG) == member.process) {
            member.process = -1;
            throw std::runtime_error("etcd has ended:\n" +
                                     sysconfctl::readBytes(member.folder / "log"));
        }
        try {
            sysconfsync::Client(only).range({"health"});
            return true;
        } catch (const sysconfsync::EtcdError& error) {
            return error.reason == sysconfsync::Failure::Denied;
        }
    });
}

std::string Etcd::endpoints(std::size_t first) const {
    std::string all;
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        all += (i == 0 ? "" : ",") + m_members[(first + i) % m_members.size()].endpoint;
    }
    return all;
}

sysconfsync::Connection Etcd::connection(std::size_t first) const {
    sysconfsync::Connection connection;
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        connection.endpoints.push_back(m_members[(first + i) % m_members.size()].endpoint);
    }
    if (m_settings.tls) {
        connection.caCertificate = connection.certificate = tlsFile("cert.pem");
        connection.key = tlsFile("key.pem");
    }
    return connection;
}

std::size_t Etcd::leader() const {
    Json::Value answer;
    std::istringstream(control({"endpoint", "status", "-w", "json"})) >> answer;
    for (const Json::Value& row : answer) {
        const Json::Value& status = row["Status"];
        for (std::size_t i = 0; i < m_members.size(); ++i) {
            if (status["leader"] == status["header"]["member_id"] &&
                row["Endpoint"] == endpoint(i)) {
                return i;
            }
        }
    }
    throw std::runtime_error("no member is the leader");
}

void Etcd::kill(std::size_t member) {
    pid_t& process = m_members[member].process;
    if (process > 0) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
    process = -1;
}

void Etcd::freeze(std::size_t member) const {
    const pid_t process = m_members[member].process;
    ::kill(process, SIGSTOP);
    ::waitpid(process, nullptr, WUNTRACED);
}

void Etcd::thaw(std::size_t member) const {
    ::kill(m_members[member].process, SIGCONT);
}

void Etcd::restart(std::size_t member) {
    startMember(m_members[member]);
    waitUntilHealthy(m_members[member]);
}

void Etcd::restartAll(bool empty) {
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        kill(i);
        if (empty) {
            fs::remove_all(m_members[i].folder / "data");
        }
    }
    startAll();
}

void Etcd::waitForMetric(std::size_t member, const std::string& line) const {
    waitUntil([&] { return hasMetric(member, line); });
}

void Etcd::waitForMetricOfAny(const std::string& line) const {
    std::size_t member = 0;
    waitUntil([&] { return hasMetric(member++ % size(), line); });
}

bool Etcd::hasMetric(std::size_t member, const std::string& line) const {
    std::string metrics;
    sysconfsync::Transport(connection())
        .post({.url = endpoint(member) + "/metrics",
               .body = {},
               .token = {},
               .onData = [&](std::string_view data) { metrics += data; },
               .remaining = [] { return sysconfsync::Clock::duration(kLimit); }});
    return metrics.find('\n' + line + '\n') != std::string::npos;
}

std::string Etcd::control(const std::vector<std::string>& arguments) const {
    std::vector<std::string> words = {"--endpoints", endpoints(),      "--command-timeout",
                                      "60s",         "--dial-timeout", "60s"};
    if (m_settings.tls) {
        words.insert(words.end(), {"--cacert", tlsFile("cert.pem"), "--cert", tlsFile("cert.pem"),
                                   "--key", tlsFile("key.pem")});
    }
    words.insert(words.end(), arguments.begin(), arguments.end());
    const CommandResult result = Command(kEtcdctl, words).variable("ETCDCTL_API", "3").run();
    if (result.exitStatus != 0) {
        throw std::runtime_error("etcdctl: " + result.errors);
    }
    return result.output;
}

void Etcd::requireUsers(const std::string& password) const {
    control({"user", "add", "root:" + password});
    control({"user", "grant-role", "root", "root"});
    control({"auth", "enable"});
}

} // namespace support
