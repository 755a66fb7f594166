// SPDX-License-Identifier: Apache-2.0
#include "Following.h"

#include "follow/Decision.h"
#include "support/TestDirectory.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace following {
namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string sample(const char* path) {
    return readFile(fs::path(SYSCONF_SOURCE_DIRECTORY) / "samples/ha-pair" / path);
}

} // namespace

Files filesOf(int port) {
    std::string app = sample("node-2/etc/app.json");
    app.replace(app.find("31543"), 5, std::to_string(port));
    return {{"etc/app.json", app},
            {"etc/sysconf/nodelist.json", sample("node-2/etc/sysconf/nodelist.json")},
            {"manager/etc/sysconf/nodelists.json", sample("manager/etc/sysconf/nodelists.json")}};
}

void Follow::SetUp() {
    EtcdTest::SetUp();
    if (IsSkipped()) {
        return;
    }
    m_folder = support::testDirectory() / "node";
    m_etcd.emplace(support::EtcdSettings{.members = 3});
    connect(0);
}

void Follow::connect(std::size_t first) {
    m_client.emplace(m_etcd->connection(first));
    m_store.emplace(*m_client, "/sysconf/");
}

std::size_t Follow::memberOfFollower() const {
    const std::vector<std::string> endpoints = m_etcd->connection().endpoints;
    const auto first =
        std::find(endpoints.begin(), endpoints.end(), endpointsOf("node-2", endpoints).front());
    return static_cast<std::size_t>(first - endpoints.begin());
}

void Follow::killAllMembers() {
    for (std::size_t i = 0; i < m_etcd->size(); ++i) {
        m_etcd->kill(i);
    }
}

void Follow::publish(const Nodes& nodes) {
    const Current base = m_store->current();
    Info info;
    info.version = base.version() + 1;
    info.id = std::to_string(base.revision);
    EXPECT_FALSE(m_store->publish(m_store->publication(nodes, info, base), info));
}

void Follow::publishAgain(std::int64_t version) {
    put("current", toText(m_store->info(version).value()));
}

void Follow::put(const std::string& key, const std::string& value) {
    m_client->transact({{}, {Put{"/sysconf/" + key, value}}, {}});
}

void Follow::compact() {
    m_etcd->control({"compaction", std::to_string(m_store->current().revision), "--physical"});
}

void Follow::setAlarm(bool on) {
    if (!on) {
        m_etcd->control({"alarm", "disarm"});
        return;
    }
    // etcdctl cannot raise it.
    std::string answer;
    const Connection connection = m_etcd->connection();
    Transport(connection)
        .post({.url = m_etcd->endpoint(0) + "/v3/maintenance/alarm",
               .body = R"({"alarm": "NOSPACE", "action": "ACTIVATE", "memberID": "1"})",
               .token = {},
               .onData = [&](std::string_view data) { answer += data; },
               .remaining = [] { return Clock::duration(std::chrono::seconds(60)); }});
    EXPECT_THAT(answer, testing::HasSubstr("NOSPACE"));
}

NodeStatus Follow::status() {
    return m_store->statuses().nodes["node-2"];
}

NodeStatus Follow::waitFor(const std::function<bool(const NodeStatus&)>& matches) {
    Statuses statuses = m_store->statuses();
    const auto isFound = [&] {
        const auto found = statuses.nodes.find("node-2");
        return found != statuses.nodes.end() && matches(found->second);
    };
    if (!isFound()) {
        m_store->watchStatuses(
            statuses, [&] { return !isFound(); }, Clock::time_point::max());
    }
    return statuses.nodes["node-2"];
}

void Follow::waitForApplied(std::int64_t version) {
    waitFor([&](const NodeStatus& status) { return status.version == version; });
}

Refusal Follow::waitForRefusal(std::int64_t version) {
    return waitFor([&](const NodeStatus& status) {
               return status.refused && status.refused->version == version;
           })
        .refused.value();
}

std::vector<std::string> Follow::followArguments(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {
        "follow",   "node-2",          "--endpoints",    m_etcd->endpoints(),
        "--folder", m_folder.string(), "--call-timeout", "1"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

support::Command Follow::followCommand(const std::vector<std::string>& more) const {
    return {SYSCONFSYNC, followArguments(more)};
}

support::CommandResult Follow::once(std::vector<std::string> more) const {
    more.emplace_back("--once");
    return followCommand(more).run();
}

support::RunningCommand Follow::watchPort() const {
    support::Command command(SYSCONFCTL, {"watch", "wss-port", "-o", "plain"});
    command.variable("LD_LIBRARY_PATH", fs::path(SYSCONF_EVENT_LIBRARY).parent_path())
        .variable("APP_CONF_FILE", m_folder / "current/etc/app.json")
        .variable("APP_ROOT", m_folder / "current")
        .variable("TOLM_ROOT", m_folder / "current/manager")
        .variable("PROCESS_INSTANCE_ID", "alarm-1");
    return command.start();
}

int Follow::appliedVersion() const {
    std::error_code none;
    const std::string name = fs::read_symlink(m_folder / "current", none).filename();
    return name.empty() ? 0 : std::stoi(name);
}

void Follow::expectWhole(int port) const {
    Files found;
    const fs::path current = m_folder / "current/";
    for (const auto& entry : fs::recursive_directory_iterator(current)) {
        if (entry.is_regular_file() && entry.path().filename() != ".version") {
            found[fs::relative(entry.path(), current)] = readFile(entry.path());
        }
    }
    EXPECT_EQ(found, filesOf(port));
}

} // namespace following
