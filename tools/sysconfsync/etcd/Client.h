// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "etcd/EtcdError.h"
#include "etcd/Requests.h"
#include "etcd/Transport.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sysconfsync {

struct Watch {
    std::string key;
    /// As in Range.
    std::string end = {};
    /// The first revision to report, at least 1.
    std::int64_t startRevision = 1;
    Clock::time_point deadline = Clock::time_point::max();
    /// The watch ends when this descriptor becomes readable; -1: none.
    int wakeDescriptor = -1;
};

/// Stopped: the callback returned false. Expired: the deadline was reached. Woken: the wake
/// descriptor is readable.
enum class WatchEnd { Stopped, Expired, Woken };

/// A client of etcd's JSON gateway. For one thread.
/// Every call is tried at the endpoint that answered last, then at the others, up to three rounds.
/// It fails at once if an answer is definite, or if no endpoint accepts a connection.
/// A transaction may therefore be applied although an attempt failed, and be sent again: its
/// comparisons have to prevent that it is applied twice.
/// All calls throw EtcdError or Cancelled.
class Client {
public:
    using OnEvents = std::function<bool(const std::vector<WatchEvent>&)>;

    explicit Client(Connection connection);

    RangeResult range(const Range& range);
    TransactionResult transact(const Transaction& transaction);

    /// Calls `onEvents` with the events of each message, in the order of their revisions. Continues
    /// at another endpoint without loss or repetition if a member fails, stops answering or loses
    /// its leader.
    WatchEnd watch(const Watch& watch, const OnEvents& onEvents);

    void sleep(std::chrono::milliseconds time) { m_transport.sleep(time); }

    /// The id of the cluster in the last answer; empty before the first one.
    const std::string& clusterId() const { return m_clusterId; }

private:
    struct Attempt;
    class Messages;

    Json::Value call(const char* path, const Json::Value& request);
    Attempt attempt(const char* path, const std::string& body);
    Attempt exchange(const char* path, const std::string& body);
    Attempt renewToken();
    Attempt watchOnce(const Watch& watch, Messages& messages);
    std::string describe(const std::string& trouble) const;
    void nextEndpoint() { m_endpoint = (m_endpoint + 1) % m_connection.endpoints.size(); }

    Connection m_connection;
    Transport m_transport;
    std::size_t m_endpoint = 0;
    std::string m_token;
    std::string m_clusterId;
};

} // namespace sysconfsync
