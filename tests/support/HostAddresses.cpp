// SPDX-License-Identifier: Apache-2.0
#include "support/HostAddresses.h"

#include <arpa/inet.h>
#include <cerrno>
#include <deque>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <stdexcept>

namespace {

struct Interface {
    sockaddr_in6 v6{};
    sockaddr_in v4{};
    ifaddrs entry{};
};

// A deque, because the entries contain pointers to each other and to themselves.
std::deque<Interface> g_interfaces;
char g_name[] = "test0";
int g_error = 0;
int (*g_hook)() = nullptr;

sockaddr* parse(const std::string& text, Interface& into) {
    if (::inet_pton(AF_INET, text.c_str(), &into.v4.sin_addr) == 1) {
        into.v4.sin_family = AF_INET;
        return reinterpret_cast<sockaddr*>(&into.v4);
    }
    if (::inet_pton(AF_INET6, text.c_str(), &into.v6.sin6_addr) == 1) {
        into.v6.sin6_family = AF_INET6;
        return reinterpret_cast<sockaddr*>(&into.v6);
    }
    throw std::invalid_argument(text);
}

} // namespace

extern "C" {
[[gnu::visibility("default")]] int getifaddrs(ifaddrs** first) noexcept {
    const int hooked = g_hook != nullptr ? g_hook() : 0;
    if (const int error = hooked != 0 ? hooked : g_error; error != 0) {
        errno = error;
        return -1;
    }
    *first = g_interfaces.empty() ? nullptr : &g_interfaces.front().entry;
    return 0;
}
[[gnu::visibility("default")]] void freeifaddrs(ifaddrs*) noexcept {}
}

namespace support {

void setHostAddresses(const std::vector<std::string>& addresses) {
    g_interfaces.clear();
    for (const std::string& address : addresses) {
        ifaddrs* previous = g_interfaces.empty() ? nullptr : &g_interfaces.back().entry;
        Interface& added = g_interfaces.emplace_back();
        added.entry.ifa_name = g_name;
        added.entry.ifa_addr = parse(address, added);
        if (previous != nullptr) {
            previous->ifa_next = &added.entry;
        }
    }
}

void failHostAddresses(int error) {
    g_error = error;
}

void setHostAddressesHook(int (*error)()) {
    g_hook = error;
}

} // namespace support
