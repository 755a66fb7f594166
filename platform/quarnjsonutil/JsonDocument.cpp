#include "JsonDocument.h"

#include "JsonReader.h"

#include <simdjson.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <new>
#include <string_view>
#include <sys/mman.h>

// Texts are read by simdjson, which validates all of them several times faster than a tree is
// built. What it refuses is decided by JsonReader: simdjson refuses some valid texts (integers
// beyond 64 bits, doubles beyond the range, bytes that are not UTF-8, lone surrogates), but accepts
// none that JsonReader refuses.

namespace {

namespace dom = simdjson::dom;

constexpr std::size_t kTree = std::numeric_limits<std::size_t>::max();
/// The place of null values that are nowhere in the text.
const Json::Value& nullTree() {
    return Json::Value::nullSingleton();
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
    ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

} // namespace

struct JsonDocument::Contents {
    dom::document text;
    Json::Value tree;
    bool inTree = false;
};

namespace {

/// Whether the step succeeded; false also for a text that simdjson does not take.
bool succeeded(simdjson::error_code error) {
    if (error == simdjson::MEMALLOC) {
        throw std::bad_alloc();
    }
    return error == simdjson::SUCCESS;
}

bool readFast(const char* text, std::size_t length, dom::document& document) {
    std::unique_ptr<simdjson::internal::dom_parser_implementation> parser;
    if (!succeeded(document.allocate(length)) ||
        !succeeded(simdjson::get_active_implementation()->create_dom_parser_implementation(
            length, JsonReader::kNestingLimit, parser))) {
        return false;
    }
    preferLargePages(document.tape.get(), length * sizeof(std::uint64_t));
    preferLargePages(document.string_buf.get(), length);
    preferLargePages(parser->structural_indexes.get(), length * sizeof(std::uint32_t));
    return succeeded(parser->parse(reinterpret_cast<const std::uint8_t*>(text), length, document));
}

/// A node of simdjson's document is two words. They are kept as such, so that programs that
/// include the header need no simdjson.
struct Place {
    const void* document;
    std::size_t index;
};
static_assert(sizeof(Place) == sizeof(dom::element));

dom::element elementAt(const void* where, std::size_t index) {
    return std::bit_cast<dom::element>(Place{where, index});
}

/// An array with its elements made by `element`.
template <typename Element>
Json::Value buildArray(const dom::array& array, Element element) {
    Json::Value built(Json::arrayValue);
    for (const dom::element item : array) {
        built.append(element(item));
    }
    return built;
}

/// An object with those members for which `wanted` holds, made by `member`.
template <typename Wanted, typename Member>
Json::Value buildObject(const dom::object& object, Wanted wanted, Member member) {
    Json::Value built(Json::objectValue);
    for (const dom::key_value_pair field : object) {
        const std::string_view name = field.key;
        if (wanted(name)) {
            *built.demand(name.data(), name.data() + name.size()) = member(field.value);
        }
    }
    return built;
}

bool everyName(std::string_view /*name*/) {
    return true;
}

Json::Value build(const dom::element& element) {
    switch (element.type()) {
    case dom::element_type::OBJECT:
        return buildObject(dom::object(element), everyName, build);
    case dom::element_type::ARRAY:
        return buildArray(dom::array(element), build);
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

Json::Value buildReduced(const dom::element& element,
                         std::initializer_list<std::string_view> membersOfElements) {
    const auto wanted = [&](std::string_view name) {
        return std::find(membersOfElements.begin(), membersOfElements.end(), name) !=
               membersOfElements.end();
    };
    const auto reduced = [&](const dom::element& item) {
        return item.is_object() ? buildObject(dom::object(item), wanted, build) : build(item);
    };
    if (element.is_array()) {
        return buildArray(dom::array(element), reduced);
    }
    return element.is_object() ? buildObject(dom::object(element), everyName, reduced)
                               : build(element);
}

/// Throws what jsoncpp throws when it looks for a member in a value of that kind.
[[noreturn]] void refuseMembers(const dom::element& element) {
    const Json::Value scalar = element.is_array() ? Json::Value(Json::arrayValue) : build(element);
    static_cast<void>(scalar[""]);
    throw std::bad_alloc();
}

const Json::Value& treeAt(const void* where) {
    return *static_cast<const Json::Value*>(where);
}

} // namespace

JsonDocument::JsonDocument() : m_contents(new Contents) {
    m_contents->inTree = true;
}

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
    if (m_contents->inTree) {
        return {&m_contents->tree, kTree};
    }
    const auto place = std::bit_cast<Place>(m_contents->text.root());
    return {place.document, place.index};
}

JsonDocument::Node JsonDocument::Node::operator[](const std::string& name) const {
    if (m_index == kTree) {
        return {&treeAt(m_where)[name], kTree};
    }
    const dom::element element = elementAt(m_where, m_index);
    Node found(&nullTree(), kTree);
    if (element.is_object()) {
        for (const dom::key_value_pair field : dom::object(element)) {
            if (field.key == name) {
                const auto place = std::bit_cast<Place>(field.value);
                found = {place.document, place.index};
            }
        }
    } else if (!element.is_null()) {
        refuseMembers(element);
    }
    return found;
}

std::vector<std::pair<std::string, JsonDocument::Node>> JsonDocument::Node::members() const {
    std::vector<std::pair<std::string, Node>> members;
    if (m_index == kTree) {
        for (const std::string& name : treeAt(m_where).getMemberNames()) {
            members.emplace_back(name, Node(&treeAt(m_where)[name], kTree));
        }
        return members;
    }
    const dom::element element = elementAt(m_where, m_index);
    if (element.is_null()) {
        return members;
    }
    if (!element.is_object()) {
        refuseMembers(element);
    }
    for (const dom::key_value_pair field : dom::object(element)) {
        const auto place = std::bit_cast<Place>(field.value);
        members.emplace_back(std::string(field.key), Node(place.document, place.index));
    }
    // Of equal names the last one counts: turned round, it is the first, and the one that is kept.
    std::reverse(members.begin(), members.end());
    const auto byName = [](const auto& a, const auto& b) { return a.first < b.first; };
    std::stable_sort(members.begin(), members.end(), byName);
    const auto sameName = [](const auto& a, const auto& b) { return a.first == b.first; };
    members.erase(std::unique(members.begin(), members.end(), sameName), members.end());
    return members;
}

Json::Value JsonDocument::Node::value() const {
    return m_index == kTree ? treeAt(m_where) : build(elementAt(m_where, m_index));
}

Json::Value
JsonDocument::Node::value(std::initializer_list<std::string_view> membersOfElements) const {
    return m_index == kTree ? treeAt(m_where)
                            : buildReduced(elementAt(m_where, m_index), membersOfElements);
}
