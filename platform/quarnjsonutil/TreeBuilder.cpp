#include "TreeBuilder.h"

#include "JsonReader.h"
#include "Numbers.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace {

/// The figures behind JsonReader::kNestingLimit, in bytes.
constexpr std::size_t kCopyStack = 36U * 1024U;
constexpr std::size_t kStackPerLevel = 112;
constexpr std::size_t kStackPerStep = 48;

/// An upper bound of what copying this container itself takes.
std::size_t copyStack(const Json::Value& container) {
    const auto steps = 2U * static_cast<unsigned>(std::bit_width(container.size() + 1U) - 1);
    return kStackPerLevel + kStackPerStep * steps;
}

} // namespace

bool TreeBuilder::RawNumber(const char* text, Length length, bool /*copy*/) {
    return put(numberValue(text, text + length));
}

bool TreeBuilder::String(const char* text, Length length, bool /*copy*/) {
    return put(Json::Value(text, text + length));
}

bool TreeBuilder::Key(const char* name, Length length, bool /*copy*/) {
    m_member = m_open.back().node->demand(name, name + length);
    return true;
}

bool TreeBuilder::put(Json::Value&& value) {
    place(std::move(value));
    return withinStack();
}

bool TreeBuilder::open(Json::ValueType type) {
    if (m_open.size() == JsonReader::kNestingLimit) {
        return false;
    }
    Json::Value& node = place(Json::Value(type));
    const std::size_t around =
        m_open.empty() ? 0 : m_open.back().around + copyStack(*m_open.back().node);
    m_open.push_back({&node, around, 0});
    return withinStack();
}

bool TreeBuilder::close() {
    const std::size_t inside = copyStack(*m_open.back().node) + m_open.back().inside;
    m_open.pop_back();
    if (!m_open.empty()) {
        m_open.back().inside = std::max(m_open.back().inside, inside);
    }
    return true;
}

Json::Value& TreeBuilder::place(Json::Value&& value) {
    if (m_open.empty()) {
        return m_tree = std::move(value);
    }
    Json::Value& container = *m_open.back().node;
    if (container.isArray()) {
        return container.append(std::move(value));
    }
    return *m_member = std::move(value);
}

/// Only the innermost container grows, so nothing else can have come to exceed the stack.
bool TreeBuilder::withinStack() const {
    if (m_open.empty()) {
        return true;
    }
    const Container& innermost = m_open.back();
    return innermost.around + copyStack(*innermost.node) + innermost.inside <= kCopyStack;
}
