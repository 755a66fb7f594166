// SPDX-License-Identifier: Apache-2.0
#include "follow/Follower.h"

#include "follow/VersionCheck.h"

#include <deployment/Sources.h>
#include <render/Output.h>
#include <render/Text.h>

#include <fmt/format.h>

#include <system_error>
#include <systemd/sd-daemon.h>

namespace sysconfsync {
namespace {

using std::chrono::milliseconds;

/// What is published is read again after this time at the latest, in case a watch stays silent: for
/// example after etcd has been restored from a backup, whose revisions are lower.
constexpr milliseconds kLongestWatch{60'000};
/// Findings in a status, which must stay below the largest value that etcd accepts.
constexpr Json::ArrayIndex kMostFindings = 20;

VersionId idOf(const Info& info) {
    return {info.version, info.id};
}

Json::Value only(const Json::Value& finding) {
    Json::Value findings(Json::arrayValue);
    findings.append(finding);
    return findings;
}

} // namespace

Follower::Follower(Client& client, const std::string& prefix, Folder& folder, std::string node,
                   bool acceptOlder)
    : m_client(client), m_store(client, prefix), m_folder(folder), m_node(std::move(node)),
      m_acceptOlder(acceptOlder), m_applied(folder.applied()) {
    m_folder.removeUnfinished();
}

void Follower::run() {
    // Services that need the files start although etcd does not answer.
    notify("");
    try {
        while (true) {
            try {
                while (true) {
                    round();
                }
            } catch (const EtcdError& error) {
                failed(error);
            }
        }
    } catch (const Cancelled&) {
        ::sd_notify(0, "STOPPING=1");
    }
}

bool Follower::once() {
    const Current current = m_store.current();
    settle(current);
    report();
    return current.info && !m_refused;
}

void Follower::round() {
    const Current current = m_store.current();
    if (m_isAway) {
        m_isAway = false;
        say("etcd answers again");
    }
    settle(current);
    const bool isSettled = report() && !(m_refused && m_refused->canPass);
    m_store.watchCurrent(
        current.revision + 1, [](const Current&) { return false; },
        Clock::now() + untilNextRound(isSettled));
}

void Follower::settle(const Current& current) {
    if (!current.info) {
        say("nothing is published");
        return;
    }
    const VersionId published = idOf(*current.info);
    if (!m_isCompared && published == m_applied && !isIntact()) {
        m_applied.id.clear(); // as with a damaged info, the version is written again
    }
    m_isCompared = true;
    const Decision decision = decide(m_applied, m_refused, published, m_acceptOlder);
    if (decision.step == Step::Apply) {
        apply(*current.info);
    } else if (decision.step == Step::Refuse) {
        refuse(published, only(findingOf("version", decision.reason)), false);
    } else if (published == m_applied) {
        m_refused.reset();
    }
}

bool Follower::isIntact() {
    try {
        const Files found = m_folder.appliedFiles();
        const std::optional<Files> published = m_store.node(m_applied.number, m_node, found);
        return !published || *published == found;
    } catch (const EtcdError& error) {
        if (error.reason != Failure::Malformed) {
            throw;
        }
        return true; // it cannot be written again
    } catch (const std::system_error&) {
        return false;
    }
}

void Follower::apply(const Info& info) {
    const VersionId published = idOf(info);
    try {
        const std::optional<Files> files =
            m_store.node(published.number, m_node, m_folder.appliedFiles());
        if (!files) {
            refuse(published,
                   only(findingOf("no-node",
                                  fmt::format("version {} has no complete files of node \"{}\"",
                                              published.number, m_node))),
                   false);
            return;
        }
        if (Json::Value faults = pathFaults(*files); !faults.empty()) {
            refuse(published, std::move(faults), false);
            return;
        }
        CheckOutcome outcome =
            checkVersion(m_folder.write(info, *files), sysconfctl::addressesOfHost({}));
        if (!outcome.errors.empty()) {
            m_folder.removeUnfinished();
            refuse(published, std::move(outcome.errors), outcome.dependsOnHost);
            return;
        }
        m_folder.apply(published.number);
        m_applied = published;
        m_refused.reset();
        say(fmt::format("version {} is applied", published.number));
    } catch (const EtcdError& error) {
        if (error.reason != Failure::Malformed) {
            throw;
        }
        refuse(published, only(findingOf("malformed", error.what())), false);
    } catch (const std::system_error& error) {
        m_applied = m_folder.applied();
        refuse(published, only(findingOf("file-system", error.what())), true);
    }
}

void Follower::refuse(const VersionId& version, Json::Value findings, bool canPass) {
    if (findings.size() > kMostFindings) {
        findings.resize(kMostFindings);
    }
    if (!m_refused || m_refused->version != version || m_refusal.findings != findings) {
        m_refusal = {version.number, timeText(), std::move(findings)};
        const Json::Value& first = m_refusal.findings[0];
        const std::string file = first["file"].asString();
        say(fmt::format("version {} is refused: {}{}{} [{}]", version.number,
                        sysconfctl::escaped(file), file.empty() ? "" : ": ",
                        sysconfctl::escaped(first["text"].asString()), first["name"].asString()));
    }
    m_refused = Refused{version, canPass};
}

bool Follower::report() {
    const NodeStatus status{m_applied.number, m_folder.since(),
                            m_refused ? std::optional(m_refusal) : std::nullopt};
    const std::string text = toText(status);
    notify(m_refused ? fmt::format(", version {} is refused", m_refusal.version) : "");
    try {
        // Somebody may have deleted it, or the cluster may be another one.
        if (text != m_store.statusText(m_node)) {
            m_store.writeStatus(m_node, status);
        }
        return true;
    } catch (const EtcdError& error) {
        say(fmt::format("the status cannot be written: {}", error.what()));
        return false;
    }
}

void Follower::failed(const EtcdError& error) {
    say(error.what());
    m_isAway = error.reason != Failure::Malformed;
    if (error.reason == Failure::Malformed) {
        refuse({}, only(findingOf("malformed", error.what())), true);
        report();
    }
    notify(error.reason == Failure::Unreachable ? ", etcd does not answer"
                                                : std::string(", ") + error.what());
    m_client.sleep(untilNextRound(false));
}

milliseconds Follower::untilNextRound(bool isSettled) {
    if (isSettled) {
        m_pause.reset();
    }
    // At random, so that followers that start together do not always read at the same moment.
    return isSettled
               ? std::chrono::duration_cast<milliseconds>(kLongestWatch * (1.0 - random() / 4))
               : m_pause.next(random());
}

void Follower::notify(const std::string& trouble) const {
    const std::string message =
        fmt::format("{}WATCHDOG=1\nSTATUS=version {} is applied{}",
                    m_applied.number != 0 ? "READY=1\n" : "", m_applied.number, trouble);
    ::sd_notify(0, message.c_str());
}

void Follower::say(const std::string& line) {
    if (line != m_said) {
        m_said = line;
        sysconfctl::writeErrors(fmt::format("sysconfsync: {}\n", line));
    }
}

} // namespace sysconfsync
