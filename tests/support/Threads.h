// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <barrier>
#include <cstddef>
#include <thread>
#include <vector>

namespace support {

/// Runs `work(i)` for every i below `number` on its own thread, starting at the same moment.
template <typename Work>
void runTogether(std::size_t number, Work work) {
    std::barrier start(static_cast<std::ptrdiff_t>(number));
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < number; ++i) {
        threads.emplace_back([&start, &work, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
}

} // namespace support
