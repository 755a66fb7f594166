// SPDX-License-Identifier: Apache-2.0
#include "QuarnCommonUtils_i.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include <array>
#include <memory>

namespace {

using AddressList = std::unique_ptr<ifaddrs, decltype(&freeifaddrs)>;

AddressList listAddresses() {
    ifaddrs* first = nullptr;
    return {getifaddrs(&first) == 0 ? first : nullptr, &freeifaddrs};
}

/// Null for another socket address, and for an interface without an address.
const void* addressBytes(const sockaddr* address) {
    if (address == nullptr) {
        return nullptr;
    }
    switch (address->sa_family) {
    case AF_INET:
        return &reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
    case AF_INET6:
        return &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    default:
        return nullptr;
    }
}

} // namespace

void QuarnCommonUtils_i::getAllIPAddr(std::list<std::string>& addresses) {
    const AddressList list = listAddresses();
    std::list<std::string> found;
    for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
        const void* const bytes = addressBytes(entry->ifa_addr);
        std::array<char, INET6_ADDRSTRLEN> text{};
        if (bytes != nullptr && inet_ntop(entry->ifa_addr->sa_family, bytes, text.data(),
                                          static_cast<socklen_t>(text.size())) != nullptr) {
            found.emplace_back(text.data());
        }
    }
    addresses.splice(addresses.end(), found);
}
