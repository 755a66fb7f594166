// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace eventcbutil {

/// An instance of inotify(7), with its numbers and bits.
class Inotify {
public:
    struct Notice {
        int watch = -1; // -1: notices have been lost
        std::uint32_t mask = 0;
        /// Empty for the folder itself. Valid only during the visit.
        std::string_view name;
    };

    /// @throws std::system_error if the kernel refuses another instance.
    Inotify();

    /// Readable when there are notices. Close-on-exec, not blocking.
    int descriptor() const { return m_descriptor.get(); }
    bool intact() const { return m_descriptor.intact(); }
    void close() { m_descriptor.close(); }

    /// Watches a folder for the bits of `mask`, in addition to earlier ones.
    /// @return The number of the watch, the same for all paths of a folder; or the negative errno.
    int watch(const std::string& folder, std::uint32_t mask);
    void unwatch(int watch);

    /// Visits the notices that were there when the call began, and no more: notices may arrive
    /// faster than they are read.
    /// @return False if notices could not be read and may be lost.
    bool read(const std::function<void(const Notice&)>& visit);

private:
    Descriptor m_descriptor;
};

} // namespace eventcbutil
