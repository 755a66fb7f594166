// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// Sets the addresses of the host: HostAddresses.cpp replaces getifaddrs in the test executable.
namespace support {

/// Each on its own interface. At the start the host has none.
void setHostAddresses(const std::vector<std::string>& addresses);

/// 0 ends it.
void failHostAddresses(int error);

/// Called when the addresses are listed; its result is the error number. Null removes it.
void setHostAddressesHook(int (*error)());

} // namespace support
