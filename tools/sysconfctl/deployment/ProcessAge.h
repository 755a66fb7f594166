// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sysconfctl {

/// The addresses that were added to this host later than that, in hundredths of a second since its
/// boot. Addresses that were removed are unknown, and so is everything where the kernel does not
/// keep the times.
std::vector<std::string> addressesAddedAfter(std::uint64_t centiseconds);

/// What a process that starts now finds, but the running process did not find at its start, one
/// sentence each: the configuration files of the current environment that are newer than it, the
/// service addresses that were added later, and that it has other addresses.
/// @param withAddresses Whether the addresses of the host matter.
std::vector<std::string> newerThanProcess(const std::string& pid, bool withAddresses);

} // namespace sysconfctl
