// SPDX-License-Identifier: Apache-2.0
#include "cli/Address.h"

#include "cli/DeployedNames.h"
#include "cli/Suggestion.h"
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
    if (text.find('%') != std::string::npos) {
        throw UsageError(fmt::format("--local-address: {} is not an IPv4 or IPv6 address; host "
                                     "addresses have no scope (%...)",
                                     shellWord(text)));
    }
    const Candidates candidates = deployed::addresses();
    std::vector<std::string_view> known;
    known.reserve(candidates.size());
    for (const Candidate& candidate : candidates) {
        known.emplace_back(candidate.text);
    }
    const std::string near = suggestion(text, known);
    throw UsageError(fmt::format("--local-address: {} is not an IPv4 or IPv6 address{}",
                                 shellWord(text),
                                 near.empty() ? "" : didYouMean({shellWord(near)})));
}

} // namespace sysconfctl
