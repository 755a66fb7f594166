// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sysconfctl {

/// Returns the addresses that were added to this host after the given time, in hundredths of a
/// second since boot. Removed addresses are not detected. Returns nothing if the kernel does not
/// record the times.
std::vector<std::string> addressesAddedAfter(std::uint64_t centiseconds);

/// Returns one sentence for each difference between what a process that starts now finds and what
/// the running process found at its start: configuration files of the current environment that
/// changed later, service addresses that were added later, another network namespace.
/// @param withAddresses Whether the addresses of the host matter.
std::vector<std::string> newerThanProcess(const std::string& pid, bool withAddresses);

} // namespace sysconfctl
