// SPDX-License-Identifier: Apache-2.0
#ifndef QUARNCOMMONUTILS_I_H
#define QUARNCOMMONUTILS_I_H

#include <list>
#include <string>

/// What the host says about itself. No state; any thread may call this on a list of its own.
class [[gnu::visibility("default")]] QuarnCommonUtils_i {
public:
    /// Appends the host's own addresses, IPv4 dotted and IPv6 with colons, in the order in which
    /// the kernel lists them: those of every interface, loopback included, be it up or down. An
    /// address that several interfaces carry appears once for each. A link-local address comes
    /// without its scope ("fe80::1", not "fe80::1%eth0").
    ///
    /// What `addresses` held stays in front. Asks the kernel anew on every call. Appends nothing
    /// if the kernel does not answer.
    /// @throws std::bad_alloc when memory runs out; nothing has been appended then.
    // clang-format off
    static void getAllIPAddr(std::list<std::string>& addresses);
    // clang-format on
};

#endif // QUARNCOMMONUTILS_I_H
