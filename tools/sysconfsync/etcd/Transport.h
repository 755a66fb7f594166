// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfsync {

using Clock = std::chrono::steady_clock;

struct Connection {
    /// "http://host:port" or "https://host:port", at least one.
    std::vector<std::string> endpoints;
    /// Paths of PEM files; empty: the system's certificates, no client certificate.
    std::string caCertificate;
    std::string certificate;
    std::string key;
    /// Empty: no user.
    std::string user;
    std::string password;
    std::chrono::milliseconds callLimit{5000};
    /// Called while a call waits, at least every `longestWait`.
    std::function<void()> onWait = [] {};
    std::chrono::milliseconds longestWait{60'000};
    /// A call in progress throws Cancelled when this descriptor becomes readable; -1: none.
    int stopDescriptor = -1;
};

struct Post {
    std::string url;
    std::string body;
    /// The value of the header "Authorization"; empty: none.
    std::string token;
    /// The transfer ends when this descriptor becomes readable; -1: none.
    int wakeDescriptor = -1;
    /// Receives the body of the answer in pieces.
    std::function<void(std::string_view)> onData;
    /// The time that is left. The transfer ends if there is none.
    std::function<Clock::duration()> remaining;
};

enum class PostEnd { Answered, Failed, TimedOut, Woken };

struct PostResult {
    PostEnd end = PostEnd::Failed;
    /// Whether any of the request was sent.
    bool sent = false;
    /// The HTTP status; 0 without an answer.
    long status = 0;
    std::string trouble;
};

/// Sends HTTP requests and waits for their answers. For one thread.
class Transport {
public:
    explicit Transport(const Connection& connection);
    ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    /// @throws Cancelled, and whatever `onData` and `remaining` throw.
    PostResult post(const Post& post);
    /// @throws Cancelled
    void sleep(std::chrono::milliseconds time);

private:
    struct Transfer;

    /// Waits for the network, the descriptors or the end of the time. Returns whether the wake
    /// descriptor is readable.
    bool wait(Clock::duration time, int wakeDescriptor);

    const Connection& m_connection;
    void* m_multi;
};

} // namespace sysconfsync
