// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

/// Records the file calls of the library under test and makes them fail: FileCalls.cpp replaces
/// open, fopen, fstat, read and pread in the test executable.
namespace support {

struct OpenCall {
    std::string path;
    bool closeOnExec = false;
};

/// The opens of "*.json" since the last reset, in order, failed ones included.
std::vector<OpenCall> openCalls();
std::size_t openCount(const std::string& path);
void resetOpenCalls();

/// From now on an open of `path` opens `target`. It is recorded with `path`.
void redirectOpen(const std::string& path, const std::string& target);

/// From now on the n-th open (from 0) of `path` fails with the error number script(n), 0 for none.
void failOpens(const std::string& path, std::function<int(std::size_t)> script);

/// Runs on the opening thread before each open of a JSON file; null removes it.
void setOpenHook(std::function<void(const std::string& path)> hook);

/// Fails with `error`, or reads at most that many bytes: from the file, or `fill` if not NUL.
struct ReadStep {
    int error = 0;
    std::size_t atMost = std::numeric_limits<std::size_t>::max();
    char fill = '\0';
};

/// The n-th read or pread (from 0) of the file does script(n). Null ends it.
void disturbReads(const std::string& path, std::function<ReadStep(std::size_t)> script);

/// The n-th fstat (from 0) of the file fails with script(n), 0 for none. Null ends it.
void failStats(const std::string& path, std::function<int(std::size_t)> script);

} // namespace support
