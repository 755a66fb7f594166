// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace sysconfctl {

/// The destructor closes the ends that are still open.
struct Pipe {
    Pipe() {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::system_category(), "pipe");
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(0);
        close(1);
    }
    void close(std::size_t end) {
        if (ends.at(end) >= 0) {
            ::close(ends.at(end));
            ends.at(end) = -1;
        }
    }
    std::array<int, 2> ends{-1, -1};
};

} // namespace sysconfctl
