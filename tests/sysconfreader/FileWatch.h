// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// Watches and delays the file calls of the library: FileWatch.cpp replaces open, read, pread and
/// close in the test executable.
namespace support {

enum class FileCall { Open, Read, Close };

/// Runs on the watched thread before the call, with the path of the file.
using FileWatcher = std::function<void(FileCall call, const std::string& path)>;

/// While it exists, its watcher is called before every open, read and close of the current thread,
/// except for calls of the watcher.
class FileWatch {
public:
    explicit FileWatch(FileWatcher watcher);
    ~FileWatch();
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    /// From now on a read of this thread returns at most that many bytes.
    void limitReads(std::size_t bytes);
};

} // namespace support
