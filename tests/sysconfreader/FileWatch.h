#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// The file calls of the library under test, watched and delayed from outside: the test executable
/// defines open, read, pread and close itself, so this header goes with FileWatch.cpp linked in.
namespace support {

enum class FileCall { Open, Read, Close };

/// Called on the watched thread before the call is made, with the path of the file.
using FileWatcher = std::function<void(FileCall call, const std::string& path)>;

/// While it lives, its watcher is told of every file that the current thread opens, reads and
/// closes. File calls of the watcher itself are not told.
class FileWatch {
public:
    explicit FileWatch(FileWatcher watcher);
    ~FileWatch();
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    /// From now on one read of this thread gives that many bytes at the most.
    void limitReads(std::size_t bytes);
};

} // namespace support
