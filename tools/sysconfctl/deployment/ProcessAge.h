// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sysconfctl {

/// The time is in hundredths of a second since boot. Removed addresses are not detected. Returns
/// nothing if the kernel does not record the times.
std::vector<std::string> addressesAddedAfter(std::uint64_t centiseconds);

/// A sentence for each difference between what a process that starts now finds and what the running
/// process found: changed files, added service addresses, another network namespace.
std::vector<std::string> newerThanProcess(const std::string& pid, bool withAddresses);

} // namespace sysconfctl
