#include "JsonDocument.h"

#include "JsonReader.h"

#include <simdjson.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>
#include <sys/mman.h>

// Texts are read by simdjson, which validates all of them several times faster than a tree is
// built. What it refuses is decided by JsonReader: simdjson refuses some valid texts (integers
// beyond 64 bits, doubles beyond the range, bytes that are not UTF-8, lone surrogates), but accepts
// none that JsonReader refuses.

namespace dom = simdjson::dom;

namespace {

/// The index of nodes that are Json::Values.
constexpr std::size_t kTree = std::numeric_limits<std::size_t>::max();

/// simdjson's code for this processor.
const simdjson::implementation& bestImplementation() {
    const simdjson::implementation* const active = simdjson::get_active_implementation();
    static_cast<void>(active->name()); // its first use replaces it
    return *simdjson::get_active_implementation();
}

/// simdjson destroys the object behind its code when the process ends, at which time threads may
/// still be at work; their next call would find no function. All that is needed of the object is
/// that it leads to the code, and these bytes of it do so until the last thread has gone.
class LastingImplementation {
public:
    explicit LastingImplementation(const simdjson::implementation& chosen) {
        std::memcpy(m_bytes, static_cast<const void*>(&chosen), sizeof m_bytes);
    }
    const simdjson::implementation* operator->() const {
        return std::launder(reinterpret_cast<const simdjson::implementation*>(m_bytes));
    }

private:
    alignas(simdjson::implementation) std::byte m_bytes[sizeof(simdjson::implementation)];
};

/// Chosen when this library is loaded.
const LastingImplementation kImplementation(bestImplementation());

/// Whether the step succeeded; false also for a text that simdjson does not take.
bool succeeded(simdjson::error_code error) {
    if (error == simdjson::MEMALLOC) {
        throw std::bad_alloc();
    }
    return error == simdjson::SUCCESS;
}

/// Asks for large pages behind memory that has not been touched yet. A text of megabytes is read
/// into fresh memory; faulting it in by pages of 4 KiB would take as long as reading it.
void preferLargePages(void* memory, std::size_t size) {
    constexpr std::size_t kWorthwhile = 4U << 20U;
    constexpr std::uintptr_t kPage = 4096;
    if (size < kWorthwhile) {
        return;
    }
    const auto first = (reinterpret_cast<std::uintptr_t>(memory) + kPage - 1) / kPage * kPage;
    const auto last = (reinterpret_cast<std::uintptr_t>(memory) + size) / kPage * kPage;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): only an integer can be rounded to a page
    ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

/// What dom::parser does, in memory that is given back with the document.
bool readFast(const char* text, std::size_t length, dom::document& document) {
    std::unique_ptr<simdjson::internal::dom_parser_implementation> parser;
    if (length > JsonReader::kTextLimit || !succeeded(document.allocate(length)) ||
        !succeeded(kImplementation->create_dom_parser_implementation(
            length, JsonReader::kNestingLimit, parser))) {
        return false;
    }
    preferLargePages(document.tape.get(), length * sizeof(std::uint64_t));
    preferLargePages(document.string_buf.get(), length);
    preferLargePages(parser->structural_indexes.get(), length * sizeof(std::uint32_t));
    return succeeded(parser->parse(reinterpret_cast<const std::uint8_t*>(text), length, document));
}

/// A value of simdjson's document is two words. They are kept as such, so that programs that
/// include the header need no simdjson.
struct Words {
    const void* document;
    std::size_t index;
};
static_assert(sizeof(Words) == sizeof(dom::element));

Json::Value build(const dom::element& element) {
    switch (element.type()) {
    case dom::element_type::OBJECT: {
        Json::Value built(Json::objectValue);
        for (const dom::key_value_pair field : dom::object(element)) {
            *built.demand(field.key.data(), field.key.data() + field.key.size()) =
                build(field.value);
        }
        return built;
    }
    case dom::element_type::ARRAY: {
        Json::Value built(Json::arrayValue);
        for (const dom::element item : dom::array(element)) {
            built.append(build(item));
        }
        return built;
    }
    case dom::element_type::STRING: {
        const std::string_view text(element);
        return {text.data(), text.data() + text.size()};
    }
    case dom::element_type::INT64:
        return Json::Value(static_cast<Json::LargestInt>(std::int64_t(element)));
    case dom::element_type::UINT64:
        return Json::Value(static_cast<Json::LargestUInt>(std::uint64_t(element)));
    case dom::element_type::DOUBLE:
        return Json::Value(double(element));
    case dom::element_type::BOOL:
        return Json::Value(bool(element));
    default:
        return {};
    }
}

/// A value of the same type that behaves alike where the type alone decides; containers are empty.
Json::Value alike(const dom::element& element) {
    return element.is_array()    ? Json::Value(Json::arrayValue)
           : element.is_object() ? Json::Value(Json::objectValue)
                                 : build(element);
}

} // namespace

/// Between nodes and what they stand for.
struct JsonDocument::Node::Places {
    using Members = std::vector<std::pair<std::string, Node>>;

    static Node place(const dom::element& element) {
        const auto words = std::bit_cast<Words>(element);
        return {words.document, words.index};
    }

    static bool inTree(const Node& node) { return node.m_index == kTree; }

    static const Json::Value& tree(const Node& node) {
        return *static_cast<const Json::Value*>(node.m_where);
    }

    static dom::element element(const Node& node) {
        return std::bit_cast<dom::element>(Words{node.m_where, node.m_index});
    }

    static std::vector<Node> elementsOf(const dom::array& array) {
        std::vector<Node> elements;
        elements.reserve(array.size());
        for (const dom::element item : array) {
            elements.push_back(place(item));
        }
        return elements;
    }

    static Members membersOf(const dom::object& object) {
        Members members;
        members.reserve(object.size());
        for (const dom::key_value_pair field : object) {
            members.emplace_back(field.key, place(field.value));
        }
        const auto byName = [](const auto& a, const auto& b) { return a.first < b.first; };
        const auto notBefore = [](const auto& a, const auto& b) { return a.first >= b.first; };
        if (std::adjacent_find(members.begin(), members.end(), notBefore) != members.end()) {
            // Of equal names the last one counts: turned round, it is the one that is kept.
            std::reverse(members.begin(), members.end());
            std::stable_sort(members.begin(), members.end(), byName);
            const auto sameName = [](const auto& a, const auto& b) { return a.first == b.first; };
            members.erase(std::unique(members.begin(), members.end(), sameName), members.end());
        }
        return members;
    }
};

struct JsonDocument::Contents {
    dom::document text;
    Json::Value tree;
    bool inTree = true;
};

JsonDocument::JsonDocument() : m_contents(new Contents) {}

JsonDocument::~JsonDocument() = default;

bool JsonDocument::read(const char* text, std::size_t length) {
    auto contents = std::make_unique<Contents>();
    bool accepted = readFast(text, length, contents->text);
    contents->inTree = !accepted;
    if (!accepted) {
        contents->text = dom::document();
        accepted = JsonReader(false).parse(std::string(text, length), contents->tree);
    }
    m_contents = std::move(contents);
    return accepted;
}

JsonDocument::Node JsonDocument::root() const {
    return m_contents->inTree ? Node(m_contents->tree)
                              : Node::Places::place(m_contents->text.root());
}

JsonDocument::Node::Node(const Json::Value& value) : Node(&value, kTree) {}

JsonDocument::Node JsonDocument::Node::operator[](const std::string& name) const {
    if (Places::inTree(*this)) {
        return Places::tree(*this)[name];
    }
    const dom::element element = Places::element(*this);
    if (!element.is_object()) {
        const Json::Value other = alike(element);
        static_cast<void>(other[name]);
        return Json::Value::nullSingleton();
    }
    Node found(Json::Value::nullSingleton());
    for (const dom::key_value_pair field : dom::object(element)) {
        if (field.key == name) {
            found = Places::place(field.value);
        }
    }
    return found;
}

std::vector<std::pair<std::string, JsonDocument::Node>> JsonDocument::Node::members() const {
    if (!Places::inTree(*this)) {
        const dom::element element = Places::element(*this);
        if (element.is_object()) {
            return Places::membersOf(dom::object(element));
        }
        static_cast<void>(alike(element).getMemberNames());
        return {};
    }
    Places::Members members;
    const Json::Value& tree = Places::tree(*this);
    for (const std::string& name : tree.getMemberNames()) {
        members.emplace_back(name, tree[name]);
    }
    return members;
}

std::vector<JsonDocument::Node> JsonDocument::Node::elements() const {
    std::vector<Node> elements;
    if (Places::inTree(*this)) {
        const Json::Value& tree = Places::tree(*this);
        // NOLINTNEXTLINE(modernize-loop-convert): an object has no elements, which its index tells
        for (Json::ArrayIndex i = 0; i < tree.size(); ++i) {
            elements.emplace_back(tree[i]);
        }
        return elements;
    }
    const dom::element element = Places::element(*this);
    if (element.is_array()) {
        return Places::elementsOf(dom::array(element));
    }
    if (element.is_object() && dom::object(element).size() != 0) {
        const Json::Value other = alike(element);
        static_cast<void>(other[0U]);
    }
    return elements;
}

std::vector<JsonDocument::Node> JsonDocument::Node::children() const {
    std::vector<Node> children;
    if (Places::inTree(*this)) {
        for (const Json::Value& child : Places::tree(*this)) {
            children.emplace_back(child);
        }
        return children;
    }
    const dom::element element = Places::element(*this);
    if (element.is_array()) {
        return Places::elementsOf(dom::array(element));
    }
    if (element.is_object()) {
        for (const auto& [name, child] : Places::membersOf(dom::object(element))) {
            children.push_back(child);
        }
    }
    return children;
}

std::string JsonDocument::Node::asString() const {
    if (Places::inTree(*this)) {
        return Places::tree(*this).asString();
    }
    const dom::element element = Places::element(*this);
    return element.is_string() ? std::string(std::string_view(element)) : alike(element).asString();
}

Json::Value JsonDocument::Node::value() const {
    return Places::inTree(*this) ? Places::tree(*this) : build(Places::element(*this));
}
