// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace eventcbutil {

/// The kernel's notices of what happens in folders; inotify(7), with its numbers and bits.
class Inotify {
public:
    struct Notice {
        int watch = -1; // -1 when notices have been lost
        std::uint32_t mask = 0;
        /// The name that the notice is about; empty for the folder itself. Valid only during the
        /// visit.
        std::string_view name;
    };

    /// @throws std::system_error if the kernel refuses another instance.
    Inotify();

    /// Readable when there are notices. Close-on-exec, not blocking.
    int descriptor() const { return m_descriptor.get(); }
    bool intact() const { return m_descriptor.intact(); }
    void close() { m_descriptor.close(); }

    /// Watches a folder for the bits of `mask`, in addition to those it is watched for already.
    /// @return The number of the watch, the same for one folder whatever its path; or minus the
    ///         error number.
    int watch(const std::string& folder, std::uint32_t mask);
    void unwatch(int watch);

    /// Visits every notice that was there when the call began, and no more: notices may arrive
    /// faster than they are read, and the thread has other work.
    /// @return False if notices could not be read: some may be lost.
    bool read(const std::function<void(const Notice&)>& visit);

private:
    Descriptor m_descriptor;
};

} // namespace eventcbutil
