#pragma once

#include <optional>
#include <string>
#include <vector>

namespace eventcbutil {

/// What a set of files contains at one moment.
///
/// Texts are kept and compared byte by byte: configuration files are small, and neither a time
/// stamp (too coarse for two writes in a row) nor a checksum can tell for certain that nothing has
/// changed. A file of more than kMostBytes, one that is not a regular file, and one that cannot be
/// read for other reasons than that it does not exist, equals nothing, not even itself.
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
