#pragma once

#include <string>
#include <vector>

/// The addresses of the host, told by the test: the test executable defines getifaddrs itself, so
/// this header goes with HostAddresses.cpp linked in.
namespace support {

/// From now on the host has exactly these addresses, in this order, one interface each. At first
/// it has none.
void setHostAddresses(const std::vector<std::string>& addresses);

/// From now on the host's addresses cannot be had, with that error number; 0 ends it.
void failHostAddresses(int error);

} // namespace support
