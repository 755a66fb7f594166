// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace eventcbutil {

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

    int descriptor() const { return m_descriptor.get(); }
    bool intact() const { return m_descriptor.intact(); }

    /// @return The number of the watch, the same for all paths of a folder; or the negative errno.
    int watch(const std::string& folder, std::uint32_t mask);
    void unwatch(int watch);

    /// Visits the notices that are there now: more may arrive faster than they are read.
    /// @return False if notices may be lost.
    bool read(const std::function<void(const Notice&)>& visit);

private:
    Descriptor m_descriptor;
};

} // namespace eventcbutil
