#ifndef JSONDOCUMENT_H
#define JSONDOCUMENT_H

#include <json/value.h>

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A JSON text that has been read and found valid as a whole, of which only those values are built
/// that are asked for. For large texts of which little is needed: reading costs a small part of
/// what JsonReader takes to build the full tree.
///
/// It accepts exactly the texts that `JsonReader(false)` accepts, and every value it builds equals
/// the one in that reader's tree. A Node answers as a constant Json::Value does: a member that is
/// absent is null, a value of the wrong type throws the same Json::Exception.
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

    static constexpr std::size_t kPadding = 64;

private:
    struct Contents;
    std::unique_ptr<Contents> m_contents;
};

/// A value of a document, valid as long as the document is and until it reads another text.
class [[gnu::visibility("default")]] JsonDocument::Node {
public:
    /// The member of that name, the last one of several; null when absent or when this is null.
    /// @throws Json::Exception when this is neither an object nor null.
    Node operator[](const std::string& name) const;

    /// The members of an object in ascending order of their names by bytes, each name once (the
    /// last value counts); none for null.
    /// @throws Json::Exception when this is neither an object nor null.
    std::vector<std::pair<std::string, Node>> members() const;

    /// This value and everything in it, as JsonReader builds it.
    Json::Value value() const;

    /// The same, but of every object that is an element of this array, or a member of this object,
    /// only those members that are named.
    Json::Value value(std::initializer_list<std::string_view> membersOfElements) const;

private:
    friend class JsonDocument;
    Node(const void* where, std::size_t index) : m_where(where), m_index(index) {}

    /// A place in the text that was read, or a Json::Value (kTree) where that had to be built.
    const void* m_where;
    std::size_t m_index;
};

#endif // JSONDOCUMENT_H
