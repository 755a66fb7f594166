// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

/// Reading a whole file, also one that changes while it is read.
namespace Quarncommon::config {

/// The result of reading and parsing a file. True if it was parsed.
class ReadResult {
public:
    enum class Outcome {
        Parsed,
        /// A system call failed for a reason that lies in the path.
        Unreadable,
        NotRegular,
        TooLarge,
        /// Not one valid JSON text.
        Malformed,
        /// A resource or the storage failed, or the file changed during each of eight reads.
        /// Reading again may succeed.
        Unavailable
    };

    ReadResult(Outcome outcome, int error = 0) // NOLINT(google-explicit-constructor)
        : m_outcome(outcome), m_error(error) {}
    explicit operator bool() const { return m_outcome == Outcome::Parsed; }
    bool unavailable() const { return m_outcome == Outcome::Unavailable; }
    Outcome outcome() const { return m_outcome; }
    /// The error number of a system call that failed, else 0.
    int error() const { return m_error; }

private:
    Outcome m_outcome;
    int m_error;
};

/// The bytes of a file, followed by the padding that a Document may read.
class FileText {
public:
    /// A larger file is refused unread: no reader accepts a longer text.
    static constexpr std::size_t kLargest = std::size_t{1} << 30U;
    /// The limit for a file that does not report its size, as in /proc.
    static constexpr std::size_t kLargestWithoutSize = std::size_t{16} << 20U;

    const char* data() const { return m_same != nullptr ? m_same->data() : m_bytes.get(); }
    std::size_t length() const { return m_length; }
    bool endsWithNul() const { return m_length != 0 && data()[m_length - 1] == '\0'; }

    bool operator==(const FileText& other) const;

    /// Whether all allocated memory is used, as for a file that reports its size.
    bool isTight() const { return m_capacity == m_length; }

    /// Reads the first `size` bytes, or up to the end of the file if that comes first or if `size`,
    /// which is st_size, is 0. Stops after the first NUL byte: no JSON text contains one, and the
    /// rest of a sparse file may be gigabytes of them.
    /// @param known A text that the file may still have, or null. It is compared while the file is
    ///        read; if all bytes are the same, they are not stored again, and `known` must outlive
    ///        this text.
    /// @return False with the error in `errno` if reading fails.
    bool readFrom(int descriptor, std::size_t size, const FileText* known);

private:
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    /// Allocates at least one more byte. The reported size is trusted up to a few megabytes; beyond
    /// that, and without a size, the capacity doubles whenever it is full.
    void reserveMore(std::size_t size, std::size_t most);
    void grow(std::size_t capacity);
    bool readMore(int descriptor, std::size_t size);
    /// Copies the first `length` bytes of a text before the `bytes` bytes that are stored.
    void prepend(const FileText& known, std::size_t length, std::size_t bytes);
    /// Adds bytes that were read to the end of the text, up to the first NUL byte. Returns whether
    /// the text is complete.
    bool append(std::size_t bytes, std::size_t size);

    const FileText* m_same = nullptr;
    std::unique_ptr<char, Free> m_bytes;
    std::size_t m_length = 0;
    std::size_t m_capacity = 0;
};

/// Reads the file until its content is known. If the file changes while it is read:
/// - A file that is replaced by rename() gives the complete old or new text.
/// - A file that is written in place is read up to eight times within a few milliseconds, until it
///   does not change during the read. If it is touched during each read, the last two must be
///   equal. If the writer pauses during these reads, the bytes can be a part of the old and a part
///   of the new text.
/// @param known See FileText::readFrom.
/// @return Parsed if `text` is the content.
/// @throws std::bad_alloc if memory runs out.
ReadResult readWhole(const std::string& path, FileText& text, const FileText* known = nullptr);

/// Returns the bytes of a regular file as readWhole does, up to and including the first NUL byte if
/// there is one; nothing if readJsonFile has no text to parse. Never throws.
std::optional<std::string> readText(const std::string& path);

} // namespace Quarncommon::config
