// SPDX-License-Identifier: Apache-2.0
#include "store/Store.h"

#include "etcd/Encoding.h"

#include <charconv>
#include <iterator>
#include <utility>

namespace sysconfsync {
namespace {

Range allBelow(const std::string& prefix, bool keysOnly = false) {
    return {prefix, prefixEnd(prefix), keysOnly};
}

Current currentOf(const RangeResult& read) {
    Current current;
    current.revision = read.revision;
    if (!read.keys.empty()) {
        current.info = parseInfo(read.keys.front().value);
        current.modRevision = read.keys.front().modRevision;
    }
    return current;
}

/// The last part of each key, by key, with its value.
std::map<std::string, std::string> named(const std::vector<KeyValue>& keys,
                                         const std::string& prefix) {
    std::map<std::string, std::string> values;
    for (const KeyValue& one : keys) {
        values[one.key.substr(prefix.size())] = one.value;
    }
    return values;
}

/// Each node writes its own status: a damaged one does not hide the others.
NodeStatus statusOf(const std::string& text) {
    try {
        return parseStatus(text);
    } catch (const EtcdError&) {
        return {.damaged = true};
    }
}

} // namespace

Store::Store(Client& client, std::string prefix) : m_client(client), m_prefix(std::move(prefix)) {}

std::string Store::versionKey(std::int64_t version, const std::string& rest) const {
    return key("versions/" + std::to_string(version) + '/' + rest);
}

Current Store::current() {
    return currentOf(m_client.range({key("current")}));
}

std::optional<Info> Store::info(std::int64_t version) {
    const RangeResult read = m_client.range({versionKey(version, "info")});
    return read.keys.empty() ? std::nullopt : std::optional(parseInfo(read.keys.front().value));
}

std::optional<Files> Store::node(std::int64_t version, const std::string& name,
                                 const Files& known) {
    const RangeResult record = m_client.range({versionKey(version, "nodes/" + name)});
    if (record.keys.empty()) {
        return std::nullopt;
    }
    const std::string& text = record.keys.front().value;
    std::map<std::string, std::string> shared;
    for (const auto& [path, bytes] : known) {
        shared[sha256(bytes)] = bytes;
    }
    for (const std::string& sum : sharedSums(text)) {
        if (shared.contains(sum)) {
            continue;
        }
        const RangeResult file = m_client.range({versionKey(version, "files/" + sum)});
        if (file.keys.empty()) {
            return std::nullopt; // the version has just been deleted
        }
        shared[sum] = file.keys.front().value;
    }
    return parseNode(text, shared);
}

Nodes Store::nodes(std::int64_t version) {
    const std::string nodePrefix = versionKey(version, "nodes/");
    const std::string filePrefix = versionKey(version, "files/");
    const TransactionResult read =
        m_client.transact({{}, {allBelow(nodePrefix), allBelow(filePrefix)}, {}});
    const auto shared = named(read.ranges.at(1).keys, filePrefix);
    Nodes nodes;
    for (const auto& [name, text] : named(read.ranges.at(0).keys, nodePrefix)) {
        nodes[name] = parseNode(text, shared);
    }
    return nodes;
}

std::set<std::string> Store::nodeNames(std::int64_t version) {
    const std::string prefix = versionKey(version, "nodes/");
    std::set<std::string> names;
    for (const auto& [name, none] : named(m_client.range(allBelow(prefix, true)).keys, prefix)) {
        names.insert(name);
    }
    return names;
}

Statuses Store::statuses() {
    const RangeResult read = m_client.range(allBelow(key("status/")));
    Statuses statuses{{}, read.revision};
    for (const auto& [name, text] : named(read.keys, key("status/"))) {
        statuses.nodes[name] = statusOf(text);
    }
    return statuses;
}

std::string Store::statusText(const std::string& name) {
    const RangeResult read = m_client.range({key("status/" + name)});
    return read.keys.empty() ? "" : read.keys.front().value;
}

void Store::writeStatus(const std::string& name, const NodeStatus& status) {
    m_client.transact({{}, {Put{key("status/" + name), toText(status)}}, {}});
}

WatchEnd Store::watchCurrent(std::int64_t fromRevision,
                             const std::function<bool(const Current&)>& onCurrent,
                             Clock::time_point deadline, int wakeDescriptor) {
    for (;;) {
        try {
            return m_client.watch({key("current"), {}, fromRevision, deadline, wakeDescriptor},
                                  [&](const std::vector<WatchEvent>& events) {
                                      const WatchEvent& last = events.back();
                                      Current current{.revision = last.key.modRevision};
                                      if (!last.deleted) {
                                          current.info = parseInfo(last.key.value);
                                          current.modRevision = last.key.modRevision;
                                      }
                                      return onCurrent(current);
                                  });
        } catch (const EtcdError& error) {
            if (error.reason != Failure::Compacted) {
                throw;
            }
        }
        const Current now = current();
        if (now.modRevision >= fromRevision && !onCurrent(now)) {
            return WatchEnd::Stopped;
        }
        fromRevision = now.revision + 1;
    }
}

WatchEnd Store::watchStatuses(Statuses& statuses, const std::function<bool()>& onChange,
                              Clock::time_point deadline) {
    const std::string prefix = key("status/");
    for (;;) {
        try {
            return m_client.watch({prefix, prefixEnd(prefix), statuses.revision + 1, deadline},
                                  [&](const std::vector<WatchEvent>& events) {
                                      for (const WatchEvent& event : events) {
                                          const std::string name =
                                              event.key.key.substr(prefix.size());
                                          statuses.revision = event.key.modRevision;
                                          if (event.deleted) {
                                              statuses.nodes.erase(name);
                                          } else {
                                              statuses.nodes[name] = statusOf(event.key.value);
                                          }
                                      }
                                      return onChange();
                                  });
        } catch (const EtcdError& error) {
            if (error.reason != Failure::Compacted) {
                throw;
            }
        }
        statuses = this->statuses();
        if (!onChange()) {
            return WatchEnd::Stopped;
        }
    }
}

Transaction Store::publication(const Nodes& nodes, const Info& info, const Current& base) const {
    Transaction transaction;
    transaction.compares.push_back({key("current"), base.modRevision});
    const auto shared = sharedFiles(nodes);
    for (const auto& [sum, text] : shared) {
        transaction.success.emplace_back(Put{versionKey(info.version, "files/" + sum), text});
    }
    for (const auto& [name, files] : nodes) {
        transaction.success.emplace_back(
            Put{versionKey(info.version, "nodes/" + name), nodeText(files, shared)});
    }
    transaction.success.emplace_back(Put{versionKey(info.version, "info"), toText(info)});
    transaction.success.emplace_back(Put{key("current"), toText(info)});
    transaction.failure = {Range{key("current")}, Range{versionKey(info.version, "info")}};
    return transaction;
}

std::optional<Current> Store::publish(const Transaction& publication, const Info& info) {
    const TransactionResult result = m_client.transact(publication);
    if (result.succeeded) {
        return std::nullopt;
    }
    // The connection may have been lost after an earlier attempt was applied.
    const RangeResult& sameVersion = result.ranges.at(1);
    if (!sameVersion.keys.empty() && parseInfo(sameVersion.keys.front().value).id == info.id) {
        return std::nullopt;
    }
    return currentOf(result.ranges.at(0));
}

void Store::deleteOld(std::size_t keep) {
    const std::string prefix = key("versions/");
    std::set<std::int64_t> versions;
    for (const auto& [rest, none] : named(m_client.range(allBelow(prefix, true)).keys, prefix)) {
        std::int64_t version = 0;
        std::from_chars(rest.data(), rest.data() + rest.size(), version);
        versions.insert(version);
    }
    const Statuses inUse = statuses();
    for (; keep > 0 && !versions.empty(); --keep) {
        versions.erase(std::prev(versions.end()));
    }
    for (const auto& [name, status] : inUse.nodes) {
        versions.erase(status.version);
    }
    for (const std::int64_t version : versions) {
        const std::string old = versionKey(version, "");
        m_client.transact({{}, {Delete{old, prefixEnd(old)}}, {}});
    }
}

} // namespace sysconfsync
