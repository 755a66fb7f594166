// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ifaddrs.h>
#include <netinet/in.h>

#include <array>
#include <string>
#include <vector>

/// While this exists, getifaddrs returns these interfaces instead of the host's.
class MadeInterfaces {
public:
    /// @param texts For each interface its IPv4 or IPv6 address, "none" for no address, or "link"
    ///        for an address of another family.
    explicit MadeInterfaces(const std::vector<std::string>& texts);
    static MadeInterfaces refused() { return {}; }
    ~MadeInterfaces();
    MadeInterfaces(const MadeInterfaces&) = delete;
    MadeInterfaces& operator=(const MadeInterfaces&) = delete;

    ifaddrs& operator[](std::size_t index) { return m_nodes[index].entry; }
    sockaddr_in6& v6(std::size_t index) { return m_nodes[index].v6; }

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
