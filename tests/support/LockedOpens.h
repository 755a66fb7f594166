// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/FileCalls.h"
#include "support/LockFaults.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

/// Link FileCalls.cpp and LockFaults.cpp.
namespace support {

/// The name of an opened file, and the locks then held for writing and for reading.
using LockedOpen = std::tuple<std::string, std::size_t, std::size_t>;

template <typename Call>
std::vector<LockedOpen> opensWithLocks(Call call) {
    std::vector<LockedOpen> opens;
    setOpenHook([&](const std::string& path) {
        const LockCounts held = locksHeldHere();
        opens.emplace_back(std::filesystem::path(path).filename(), held.write, held.read);
    });
    call();
    setOpenHook(nullptr);
    return opens;
}

} // namespace support
