// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

namespace eventcbutil {

/// Wakes a thread in poll(2). A pipe, because it also wakes when its write end is closed.
class WakeUp {
public:
    /// @throws std::system_error if there is no pipe.
    WakeUp();

    /// What to poll for POLLIN; -1 if there is no pipe at the moment.
    int descriptor() const { return m_readEnd.get(); }

    void ring();

    /// Replaces a pipe that is lost, closed or unreadable; if that fails, there is none for now.
    void clear();

    void close();

private:
    void open();
    bool drain();

    Descriptor m_readEnd;
    Descriptor m_writeEnd;
};

} // namespace eventcbutil
