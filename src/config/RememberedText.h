// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "config/ConfigDocument.h"
#include "config/FileText.h"

#ifdef SYSCONFREADER_WITH_DOCUMENT

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace Quarncommon::config {

/// A text and its parse, shared by threads. Only the number of its uses changes.
struct ParsedText {
    ParsedText(std::shared_ptr<const FileText> itsText, bool isFinal, unsigned int unusedBefore = 0)
        : text(std::move(itsText)), final(isFinal), unused(unusedBefore) {}

    const std::shared_ptr<const FileText> text;

    /// None if it would take too much memory, or if the text is malformed.
    std::optional<Document> parse;

    /// Of a malformed text, see JsonDocument::read.
    std::optional<std::size_t> errorOffset;

    /// Whether the parse was packed, or is not worth it.
    const bool final;

    mutable std::atomic<unsigned int> uses{0};

    /// How many texts in a row before this one were not read again.
    const unsigned int unused;

    /// The same number with this text, 0 if it was read again.
    unsigned int unusedNow() const { return final || uses != 0 ? 0 : unused + 1; }
};

using ParsedTextPointer = std::shared_ptr<const ParsedText>;

class ListMemory {
public:
    /// A longer text is not kept.
    static constexpr std::size_t kLargest = (std::size_t{64} << 20U) - 1;

    constexpr ListMemory() = default;

    ParsedTextPointer current();

    void keep(ParsedTextPointer text);

    /// Does nothing if `former` has been replaced.
    void replace(const ParsedTextPointer& former, ParsedTextPointer text);

    /// For a forked child. If another thread was changing the pointer at the time of the fork, it
    /// may be half-written; it is then leaked on purpose.
    void resetAfterFork();

private:
    std::mutex m_mutex;
    ParsedTextPointer m_text;
};

/// Whether the list changed at each of the last two reads or more, and so probably changes again.
inline bool keepsChanging(unsigned int unused) {
    return unused >= 2;
}

/// Parses a text that was read after `former`, which may be null, moves it away and keeps it.
/// @throws std::bad_alloc if memory runs out.
ParsedTextPointer parseNew(FileText& text, const ParsedTextPointer& former, ListMemory& memory);

/// Returns the parse of the kept text: packs it after a few uses, or parses it again.
/// @throws std::bad_alloc if memory runs out.
ParsedTextPointer parseAgain(const ParsedTextPointer& known, ListMemory& memory);

} // namespace Quarncommon::config

#endif
