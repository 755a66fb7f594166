// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace eventcbutil {

/// The contents of files at one moment, compared byte by byte: a time stamp is too coarse for two
/// writes in a row. A file that is larger than kMostBytes, is not a regular file, or exists but
/// cannot be read is never equal to anything.
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
