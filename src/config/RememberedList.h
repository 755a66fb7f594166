#pragma once

#include "config/JsonFiles.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

/// The last text of a list and its parse. A query reads its list each time, but a text with the
/// same bytes as before has the same parse, which is reused. Nothing is assumed from time stamps.
namespace Quarncommon::config {

#ifdef SYSCONFREADER_WITH_DOCUMENT

/// A text that was parsed once, with its packed parse, which is made at the second use: a text that
/// changes between all uses costs nothing but the memory for its bytes. Shared by all threads.
class RememberedText {
public:
    explicit RememberedText(FileText&& text) : m_text(std::move(text)) {}
    RememberedText(const RememberedText&) = delete;
    RememberedText& operator=(const RememberedText&) = delete;
    ~RememberedText() { delete m_packed.load(); }

    const FileText& text() const { return m_text; }

    /// Returns the packed parse. Null if it takes too much memory, for what it saves or at all; the
    /// text must then be parsed again.
    const Document* packed() const;

private:
    const FileText m_text;
    /// Set once. m_tooLarge: no parse is kept.
    mutable std::atomic<const Document*> m_packed{nullptr};
    mutable std::atomic<bool> m_tooLarge{false};

    friend class RememberedTextUse;
    std::atomic<unsigned int> m_uses{1};
};

/// A counted reference to a RememberedText, or none.
class RememberedTextUse {
public:
    RememberedTextUse() = default;
    /// Takes over a reference that has been counted.
    explicit RememberedTextUse(RememberedText* text) : m_text(text) {}
    RememberedTextUse(RememberedTextUse&& other) noexcept : m_text(other.release()) {}
    RememberedTextUse& operator=(RememberedTextUse&& other) noexcept {
        std::swap(m_text, other.m_text);
        return *this;
    }
    ~RememberedTextUse();

    /// Another reference to the text.
    static RememberedTextUse of(RememberedText* text);

    RememberedText* release() { return std::exchange(m_text, nullptr); }
    const RememberedText* get() const { return m_text; }

private:
    RememberedText* m_text = nullptr;
};

#endif

/// A list as a query asks it: the remembered parse, or one of its own.
class List {
public:
    rules::Node root() const { return m_document->root(); }

private:
    friend class ListReader;
    const Document* m_document = nullptr;
    Document m_own;
};

} // namespace Quarncommon::config
