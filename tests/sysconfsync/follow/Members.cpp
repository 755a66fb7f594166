// SPDX-License-Identifier: Apache-2.0
#include "Members.h"

#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr const char* kEtcd = "/usr/bin/etcd";

/// Different ports that no process listens at.
std::vector<int> freePorts(std::size_t count) {
    std::vector<int> sockets;
    std::vector<int> ports;
    while (ports.size() < count) {
        sockets.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        ::bind(sockets.back(), reinterpret_cast<sockaddr*>(&address), size);
        ::getsockname(sockets.back(), reinterpret_cast<sockaddr*>(&address), &size);
        ports.push_back(ntohs(address.sin_port));
    }
    for (const int socket : sockets) {
        ::close(socket);
    }
    return ports;
}

std::string url(int port) {
    return "http://127.0.0.1:" + std::to_string(port);
}

std::string nameOf(std::size_t member) {
    return "m" + std::to_string(member);
}

} // namespace

bool Members::areInstalled() {
    return std::filesystem::exists(kEtcd);
}

Members::Members(int count, const std::filesystem::path& folder) : m_folder(folder) {
    const auto size = static_cast<std::size_t>(count);
    const std::vector<int> ports = freePorts(2 * size);
    m_clientPorts.assign(ports.begin(), ports.begin() + count);
    m_peerPorts.assign(ports.begin() + count, ports.end());
    m_members.resize(size);
    for (std::size_t member = 0; member < size; ++member) {
        start(member);
    }
}

std::vector<std::string> Members::endpoints() const {
    std::vector<std::string> urls;
    for (const int port : m_clientPorts) {
        urls.push_back(url(port));
    }
    return urls;
}

void Members::start(std::size_t member) {
    std::string cluster;
    for (std::size_t i = 0; i < m_peerPorts.size(); ++i) {
        cluster += (i == 0 ? "" : ",") + nameOf(i) + '=' + url(m_peerPorts[i]);
    }
    const std::string client = url(m_clientPorts[member]);
    const std::string peer = url(m_peerPorts[member]);
    const std::string data = m_folder / nameOf(member);
    const support::Command command(kEtcd, {"--name",
                                           nameOf(member),
                                           "--data-dir",
                                           data,
                                           "--listen-client-urls",
                                           client,
                                           "--advertise-client-urls",
                                           client,
                                           "--listen-peer-urls",
                                           peer,
                                           "--initial-advertise-peer-urls",
                                           peer,
                                           "--initial-cluster",
                                           cluster,
                                           "--heartbeat-interval",
                                           "50",
                                           "--election-timeout",
                                           "500",
                                           "--logger",
                                           "zap",
                                           "--log-outputs",
                                           data + ".log"});
    m_members[member] = std::make_unique<support::RunningCommand>(command.start());
}

void Members::startEmpty(std::size_t member) {
    std::filesystem::remove_all(m_folder / nameOf(member));
    start(member);
}

void Members::kill(std::size_t member) {
    m_members[member]->signal(SIGKILL);
    m_members[member]->finish();
    m_members[member].reset();
}
