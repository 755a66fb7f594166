// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// Watches and delays the library's file calls: FileWatch.cpp replaces open, read, pread, close.
namespace support {

enum class FileCall { Open, Read, Close };

/// Runs on the watched thread before the call, with the path of the file.
using FileWatcher = std::function<void(FileCall call, const std::string& path)>;

/// Watches the current thread, except for calls of the watcher.
class FileWatch {
public:
    explicit FileWatch(FileWatcher watcher);
    ~FileWatch();
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    void limitReads(std::size_t bytes);
};

} // namespace support
