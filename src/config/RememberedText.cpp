// SPDX-License-Identifier: Apache-2.0
#include "config/RememberedText.h"

#include "base/ForkCheck.h"

#include <cstddef>
#include <new>

#ifdef SYSCONFREADER_WITH_DOCUMENT

namespace Quarncommon::config {

namespace {

using Text = std::shared_ptr<const FileText>;

/// A parse that takes more memory is not kept.
std::size_t largestParse(const FileText& text) {
    return text.length() + text.length() / 2;
}

std::shared_ptr<ParsedText> parsed(Text text, unsigned int unused = 0) {
    auto result = std::make_shared<ParsedText>(std::move(text), false, unused);
    std::size_t errorOffset = 0;
    if (!result->parse.emplace().read(result->text->data(), result->text->length(), &errorOffset)) {
        result->parse.reset();
        result->errorOffset = errorOffset;
    }
    return result;
}

ParsedTextPointer packed(const ParsedText& parsed) {
    auto result = std::make_shared<ParsedText>(parsed.text, true);
    const FileText& text = *parsed.text;
    const std::size_t limit = largestParse(text);
    if (!result->parse.emplace().pack(*parsed.parse, text.data(), text.length(), limit)) {
        result->parse.reset();
    }
    return result;
}

} // namespace

ParsedTextPointer ListMemory::current() {
    noticeFork();
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_text;
}

void ListMemory::keep(ParsedTextPointer text) {
    noticeFork();
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_text.swap(text); // what was kept is freed after the mutex
}

void ListMemory::replace(const ParsedTextPointer& former, ParsedTextPointer text) {
    noticeFork();
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (m_text == former) {
        m_text.swap(text);
    }
}

void ListMemory::resetAfterFork() {
    if (m_mutex.try_lock()) {
        m_mutex.unlock();
        return;
    }
    new (&m_mutex) std::mutex;
    new (&m_text) ParsedTextPointer;
}

ParsedTextPointer parseNew(FileText& text, const ParsedTextPointer& former, ListMemory& memory) {
    const unsigned int unused = former != nullptr ? former->unusedNow() : 0;
    ParsedTextPointer result = parsed(std::make_shared<FileText>(std::move(text)), unused);
    ParsedTextPointer kept;
    try {
        if (result->text->length() <= ListMemory::kLargest && result->text->isTight()) {
            // A large parse is not kept, nor one that is probably not used again. If the text is
            // used again, it is parsed again.
            const bool worthKeeping =
                result->errorOffset ||
                (!keepsChanging(unused) && result->parse->memory() <= largestParse(*result->text));
            kept = worthKeeping ? result
                                : std::make_shared<const ParsedText>(result->text, false, unused);
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): then nothing is kept
    }
    memory.keep(std::move(kept));
    return result;
}

ParsedTextPointer parseAgain(const ParsedTextPointer& known, ListMemory& memory) {
    // A load reads each list up to four times: packing costs more than that saves.
    constexpr unsigned int kUsesUnpacked = 4;
    if (known->errorOffset) {
        ++known->uses;
        return known;
    }
    const bool usable = known->parse.has_value();
    if (usable && (known->final || known->uses.fetch_add(1) < kUsesUnpacked)) {
        return known;
    }
    ParsedTextPointer unpacked = usable ? known : parsed(known->text);
    try {
        if (!known->final) {
            ParsedTextPointer result = packed(*unpacked);
            memory.replace(known, result);
            return result->parse ? result : unpacked;
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): then it is not packed
    }
    return unpacked;
}

} // namespace Quarncommon::config

#endif
