// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace Quarncommon::config {

/// True if the file was read and parsed.
class ReadResult {
public:
    enum class Outcome {
        Parsed,
        /// A system call failed for a reason that lies in the path.
        Unreadable,
        NotRegular,
        TooLarge,
        Malformed,
        /// A resource or the storage failed, or the file changed during each of eight reads.
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

    bool operator==(const FileText& other) const;

    bool isTight() const { return m_capacity == m_length; }

    /// Reads the first `size` bytes, or up to the end of the file if `size`, which is st_size, is
    /// 0. Stops after the first NUL byte: no JSON text contains one, and a sparse file may have
    /// gigabytes. If all bytes are those of `known`, which may be null, they are not stored again,
    /// and `known` must outlive this text.
    /// @return False with the error in `errno` if reading fails.
    bool readFrom(int descriptor, std::size_t size, const FileText* known);

private:
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    /// Trusts the reported size up to a few megabytes; beyond that, and without a size, doubles.
    void reserveMore(std::size_t size, std::size_t most);
    void grow(std::size_t capacity);
    bool readMore(int descriptor, std::size_t size);
    void prepend(const FileText& known, std::size_t length, std::size_t bytes);
    /// Adds bytes up to the first NUL byte. Returns whether the text is complete.
    bool append(std::size_t bytes, std::size_t size);

    const FileText* m_same = nullptr;
    std::unique_ptr<char, Free> m_bytes;
    std::size_t m_length = 0;
    std::size_t m_capacity = 0;
};

/// Reads the file until its content is known, up to eight times within a few milliseconds. A file
/// that is replaced by rename() gives the complete old or new text. One that is written in place
/// must not change during a read, or the last two reads must be equal; if the writer pauses, or
/// writes through a memory mapping, the bytes can be of both texts.
/// @throws std::bad_alloc if memory runs out.
ReadResult readWhole(const std::string& path, FileText& text, const FileText* known = nullptr);

/// Returns the bytes of a regular file as readWhole does, up to and including the first NUL byte;
/// nothing if there is no text to parse. Never throws.
std::optional<std::string> readText(const std::string& path);

} // namespace Quarncommon::config
