// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace eventcbutil {

/// The contents of a set of files at one moment.
///
/// Texts are kept and compared byte by byte: configuration files are small, a time stamp is too
/// coarse for two writes in a row, and a checksum is not certain. Three kinds of file equal
/// nothing, not even themselves: a file of more than kMostBytes, one that is not a regular file,
/// and one that exists but cannot be read.
class FileContents {
public:
    static constexpr std::size_t kMostBytes = 256UL * 1024;

    explicit FileContents(const std::vector<std::string>& files);

    bool equals(const FileContents& other) const;

private:
    /// No text: the file does not exist.
    using Content = std::optional<std::string>;

    static bool read(const std::string& file, Content& content);

    std::vector<Content> m_contents;
    bool m_comparable = true;
};

} // namespace eventcbutil
