// SPDX-License-Identifier: Apache-2.0
#include "cli/Address.h"

#include "cli/UsageError.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <arpa/inet.h>
#include <array>

namespace sysconfctl {

std::optional<std::string> canonicalAddress(const std::string& text) {
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    std::array<char, INET6_ADDRSTRLEN> canonical{};
    for (const int family : {AF_INET, AF_INET6}) {
        if (::inet_pton(family, text.c_str(), bytes.data()) == 1) {
            ::inet_ntop(family, bytes.data(), canonical.data(), canonical.size());
            return std::string(canonical.data());
        }
    }
    return std::nullopt;
}

std::string parseAddress(const std::string& text) {
    if (auto address = canonicalAddress(text)) {
        return *std::move(address);
    }
    throw UsageError(fmt::format(
        "--local-address: {} is no IPv4 or IPv6 address{}", shellWord(text),
        text.find('%') != std::string::npos ? "; addresses of the host come without a scope (%...)"
                                            : ""));
}

} // namespace sysconfctl
