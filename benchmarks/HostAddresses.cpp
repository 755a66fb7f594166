// SPDX-License-Identifier: Apache-2.0
// Replaces the kernel's list of host addresses, which takes longer than the queries that use it.

#include <array>
#include <cstring>
#include <ifaddrs.h>
#include <netinet/in.h>

namespace {

struct Interfaces {
    std::array<sockaddr_in, 3> addresses{};
    std::array<ifaddrs, 3> entries{};
    std::array<char, 6> name{"test0"};

    Interfaces() {
        constexpr std::array<in_addr_t, 3> kAddresses{0xC0000264, 0xC6336401, INADDR_LOOPBACK};
        for (std::size_t i = 0; i < entries.size(); ++i) {
            addresses[i].sin_family = AF_INET;
            addresses[i].sin_addr.s_addr = htonl(kAddresses[i]);
            entries[i].ifa_name = name.data();
            entries[i].ifa_addr = reinterpret_cast<sockaddr*>(&addresses[i]);
            entries[i].ifa_next = i + 1 < entries.size() ? &entries[i + 1] : nullptr;
        }
    }
};

Interfaces g_interfaces;

} // namespace

extern "C" {
[[gnu::visibility("default")]] int getifaddrs(ifaddrs** first) noexcept {
    *first = g_interfaces.entries.data();
    return 0;
}
[[gnu::visibility("default")]] void freeifaddrs(ifaddrs* /*first*/) noexcept {}
}
