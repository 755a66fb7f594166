// SPDX-License-Identifier: Apache-2.0
#ifndef JSONDOCUMENT_H
#define JSONDOCUMENT_H

#include <json/value.h>

#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A JSON text whose values are built on demand, for large texts of which little is needed. It
/// accepts the same texts as `JsonReader(false)`, with the same values. A Node behaves like a
/// constant Json::Value: an absent member is null, and a value of the wrong type throws the same
/// Json::Exception. Only Node::value() takes more stack for a deeper text. Any number of threads
/// may use a document that has been read.
///
/// Memory: at most 8 times the text, and up to 13 while it is read, the text included.
class [[gnu::visibility("default")]] JsonDocument {
public:
    class Node;

    JsonDocument();
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;
    ~JsonDocument();

    /// Reads the text of that length. kPadding more bytes, of any value, must be readable after it.
    /// The document does not need the text afterwards.
    /// @param errorOffset If not null and the text is refused, gets the offset of the first
    ///   character that no valid text can have there, or the length if the text ends too early; the
    ///   greatest std::size_t if it is not known.
    /// @return Whether the text was accepted; if not, the root is null.
    /// @throws std::bad_alloc if memory runs out; the root is then unchanged.
    bool read(const char* text, std::size_t length, std::size_t* errorOffset = nullptr);

    /// Becomes a packed copy of a document: smaller, with binary search for the members of large
    /// objects. It refers to the text, which must not change as long as this is used.
    /// @param text The text that `document` has read.
    /// @return Whether there is a copy: not of an unread document, nor of a text of 64 MiB or more,
    ///   nor if the copy would take more than `limit` bytes. Without one this document is
    ///   unchanged.
    /// @throws std::bad_alloc if memory runs out; this document is then unchanged.
    bool pack(const JsonDocument& document, const char* text, std::size_t length,
              std::size_t limit);

    /// The bytes in use, without the text: exact for a packed document, else approximate.
    std::size_t memory() const;

    /// The whole text's value; null before the first successful read.
    Node root() const;

    enum : std::size_t { kPadding = 64 };

private:
    struct Contents;
    std::unique_ptr<Contents> m_contents;
};

/// Valid until the document is read into again or destroyed, or the tree is changed.
class [[gnu::visibility("default")]] JsonDocument::Node {
public:
    class Range;

    /// Refers to a value of a tree.
    Node(const Json::Value& value); // NOLINT(google-explicit-constructor): it is the same value

    /// Returns the last member of that name; null if there is none or this is null.
    /// @throws Json::Exception if this is neither an object nor null.
    Node operator[](const std::string& name) const;

    /// Returns the members sorted by the bytes of their names, the last one of each; none for null.
    /// @throws Json::Exception if this is neither an object nor null.
    std::vector<std::pair<std::string, Node>> members() const;

    /// Returns the elements of an array; nothing for an empty object or a scalar.
    /// @throws Json::Exception for an object with members, which has a size but no indexes.
    Range elements() const;

    /// The same, and the member values of an object sorted by name.
    Range children() const;

    /// Returns what Json::Value::asString() returns.
    /// @throws Json::Exception for an array or an object.
    std::string asString() const;

    /// Returns what Json::Value::asInt() returns.
    /// @throws Json::Exception for anything else, or a number out of the range of int.
    int asInt() const;

    /// Returns the tree, which jsoncpp copies and frees recursively: JsonReader::kNestingLimit.
    /// @throws std::bad_alloc if memory runs out.
    Json::Value value() const;

private:
    friend class JsonDocument;
    struct Places;
    Node(const void* where, std::size_t index) : m_where(where), m_index(index) {}

    /// The document's tape, or a Json::Value.
    const void* m_where;
    std::size_t m_index;
};

/// The elements of an array are found one by one.
class [[gnu::visibility("default")]] JsonDocument::Node::Range {
public:
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Node;
        using difference_type = std::ptrdiff_t;
        using pointer = const Node*;
        using reference = Node;

        Node operator*() const { return m_range->at(m_place); }
        Iterator& operator++() {
            m_place = m_range->next(m_place);
            return *this;
        }
        bool operator==(const Iterator& other) const { return m_place == other.m_place; }
        bool operator!=(const Iterator& other) const { return !(*this == other); }

    private:
        friend class Range;
        Iterator(const Range* range, std::size_t place) : m_range(range), m_place(place) {}

        const Range* m_range;
        std::size_t m_place;
    };

    Iterator begin() const {
        return {this, m_begin};
    }
    Iterator end() const {
        return {this, m_end};
    }

private:
    friend class Node;
    Range(const Node& container, std::size_t begin, std::size_t end)
        : m_container(container), m_begin(begin), m_end(end) {}

    Node at(std::size_t place) const;
    std::size_t next(std::size_t place) const;

    /// An array, in which `place` is an index; or an object's values, where it is a position.
    Node m_container;
    std::vector<Node> m_members;
    std::size_t m_begin;
    std::size_t m_end;
};

#endif // JSONDOCUMENT_H
