// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ifaddrs.h>
#include <netinet/in.h>

#include <array>
#include <string>
#include <vector>

/// Interfaces that the C library's getifaddrs, replaced in this program, answers with while the
/// object lives; otherwise it answers with the host's own.
class MadeInterfaces {
public:
    /// One entry a text: an IPv4 or IPv6 address, "none" for an entry without any address, "link"
    /// for an address of no IP family.
    explicit MadeInterfaces(const std::vector<std::string>& texts);
    /// getifaddrs fails.
    static MadeInterfaces refused() { return {}; }
    ~MadeInterfaces();
    MadeInterfaces(const MadeInterfaces&) = delete;
    MadeInterfaces& operator=(const MadeInterfaces&) = delete;

    ifaddrs& operator[](std::size_t index) { return m_nodes[index].entry; }
    sockaddr_in6& v6(std::size_t index) { return m_nodes[index].v6; }

    /// The number of lists from getifaddrs, made or real, that have not been freed.
    static int unfreed();

private:
    struct Node {
        ifaddrs entry{};
        sockaddr_in v4{};
        sockaddr_in6 v6{};
        sockaddr other{};

        sockaddr* fill(const std::string& text);
    };

    MadeInterfaces();

    std::vector<Node> m_nodes;
    std::array<char, 5> m_name{"eth0"};
};
