// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <poll.h>

namespace eventcbutil {

/// Detects mounts, which inotify(7) does not report but which can change what a path refers to.
class MountTable {
public:
    /// @throws std::system_error if there is no /proc, or no descriptor.
    MountTable();

    bool intact() const { return m_descriptor.intact(); }

    /// poll(2) reports each change only once, so the result must be passed to `woken`.
    pollfd wait() const { return {m_descriptor.get(), POLLPRI, 0}; }
    void woken(const pollfd& result);

    bool changed();

private:
    Descriptor m_descriptor;
    bool m_changed = false;
};

} // namespace eventcbutil
