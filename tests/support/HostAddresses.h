// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// Sets the addresses of the host: HostAddresses.cpp replaces getifaddrs in the test executable.
namespace support {

/// From now on the host has these addresses, in this order, each on its own interface. At the start
/// it has none.
void setHostAddresses(const std::vector<std::string>& addresses);

/// From now on listing the addresses fails with that error number; 0 ends it.
void failHostAddresses(int error);

/// Sets a function that is called when the addresses are listed. Its result is the error number of
/// the call, 0 for success. Null removes it.
void setHostAddressesHook(int (*error)());

} // namespace support
