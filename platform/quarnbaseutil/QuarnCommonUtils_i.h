// SPDX-License-Identifier: Apache-2.0
#ifndef QUARNCOMMONUTILS_I_H
#define QUARNCOMMONUTILS_I_H

#include <list>
#include <string>

class [[gnu::visibility("default")]] QuarnCommonUtils_i {
public:
    /// Appends the host's IPv4 and IPv6 addresses in the order of the kernel: those of every
    /// interface, up or down, loopback included, without scope ("fe80::1", not "fe80::1%eth0").
    /// Appends nothing if the kernel returns an error. Thread-safe for different lists.
    /// @throws std::bad_alloc if memory runs out; nothing is appended.
    // clang-format off
    static void getAllIPAddr(std::list<std::string>& addresses);
    // clang-format on
};

#endif // QUARNCOMMONUTILS_I_H
