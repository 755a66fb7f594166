#ifndef JSONDOCUMENT_H
#define JSONDOCUMENT_H

#include <json/value.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A JSON text that has been read and found valid as a whole, of which a value is built only when
/// it is asked for. For large texts of which little is needed: reading takes a small part of the
/// time and memory that JsonReader takes to build the full tree.
///
/// It accepts exactly the texts that `JsonReader(false)` accepts, and its values are those of that
/// reader's tree. A Node answers as a constant Json::Value does: a member that is absent is null,
/// a value of the wrong type throws the same Json::Exception.
///
/// Threads: a document that has been read may be used by any number of threads.
class [[gnu::visibility("default")]] JsonDocument {
public:
    class Node;

    JsonDocument();
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;
    ~JsonDocument();

    /// Reads the text of that length, behind which kPadding further bytes must be readable,
    /// whatever they are. The document does not need the text afterwards.
    /// @return Whether the text was accepted; if not, the root is null.
    /// @throws std::bad_alloc when memory runs out; the root is then as it was.
    bool read(const char* text, std::size_t length);

    /// The whole text's value; null before the first successful read.
    Node root() const;

    enum : std::size_t { kPadding = 64 };

private:
    struct Contents;
    std::unique_ptr<Contents> m_contents;
};

/// A value of a document, or of any other tree of Json::Values. It is a place, not a copy: valid as
/// long as its document or its tree stays what it is.
class [[gnu::visibility("default")]] JsonDocument::Node {
public:
    /// A value of a tree.
    Node(const Json::Value& value); // NOLINT(google-explicit-constructor): it is the same value

    /// The member of that name, the last one of several; null when absent or when this is null.
    /// @throws Json::Exception when this is neither an object nor null.
    Node operator[](const std::string& name) const;

    /// The members of an object in ascending order of their names by bytes, each name once (the
    /// last value counts); none for null.
    /// @throws Json::Exception when this is neither an object nor null.
    std::vector<std::pair<std::string, Node>> members() const;

    /// What the indexes from 0 to size() - 1 lead to: the elements of an array, nothing for an
    /// empty object or a value that is neither.
    /// @throws Json::Exception for an object with members, which has a size but no indexes.
    std::vector<Node> elements() const;

    /// What an iteration comes by: the elements of an array, the member values of an object in
    /// ascending order of their names, nothing for a value that is neither.
    std::vector<Node> children() const;

    /// The value as text, as Json::Value::asString() tells it.
    /// @throws Json::Exception for an array or an object.
    std::string asString() const;

    /// The value as a number, as Json::Value::asInt() gives it.
    int asInt() const { return value().asInt(); }

    /// This value and everything in it, as JsonReader builds it.
    Json::Value value() const;

private:
    friend class JsonDocument;
    struct Places;
    Node(const void* where, std::size_t index) : m_where(where), m_index(index) {}

    /// A place in the text that was read, or a Json::Value.
    const void* m_where;
    std::size_t m_index;
};

#endif // JSONDOCUMENT_H
