// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// The addresses of the host, set by the test: the test executable defines getifaddrs itself. Link
/// HostAddresses.cpp.
namespace support {

/// From now on the host has exactly these addresses, in this order, one interface each. At first
/// it has none.
void setHostAddresses(const std::vector<std::string>& addresses);

/// From now on listing the addresses fails with that error number; 0 ends it.
void failHostAddresses(int error);

/// Called whenever the addresses are listed; the call fails with that error number unless it is 0.
/// Null removes it.
void setHostAddressesHook(int (*error)());

} // namespace support
