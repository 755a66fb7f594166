// SPDX-License-Identifier: Apache-2.0
#include "JsonDocument.h"

#include "FastReader.h"
#include "Numbers.h"
#include "StrictReader.h"
#include "Tape.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <new>
#include <string_view>

struct JsonDocument::Contents {
    std::size_t memory() const { return sizeof *this + tape.memory(); }

    Tape tape;
};

JsonDocument::JsonDocument() : m_contents(new Contents) {}

JsonDocument::~JsonDocument() = default;

bool JsonDocument::read(const char* text, std::size_t length, std::size_t* errorOffset) {
    auto contents = std::make_unique<Contents>();
    const bool accepted = readFast(text, length, contents->tape) ||
                          readStrictly(std::string_view(text, length), contents->tape, errorOffset);
    m_contents = std::move(contents);
    return accepted;
}

bool JsonDocument::pack(const JsonDocument& document, const char* text, std::size_t length,
                        std::size_t limit) {
    const Tape& tape = document.m_contents->tape;
    if (length > Tape::kLargestPacked || tape.empty() || tape.leastPackedMemory() > limit) {
        return false;
    }
    auto contents = std::make_unique<Contents>();
    contents->tape = tape.packed(std::string_view(text, length));
    if (contents->memory() > limit) {
        return false;
    }
    m_contents = std::move(contents);
    return true;
}

std::size_t JsonDocument::memory() const {
    return m_contents->memory();
}

JsonDocument::Node JsonDocument::root() const {
    return m_contents->tape.empty() ? Node(Json::Value::nullSingleton())
                                    : Node(&m_contents->tape, Tape::kRoot);
}

/// How nodes refer to their values: by an index of a tape, or by the address of a Json::Value.
struct JsonDocument::Node::Places {
    static constexpr std::size_t kTree = std::numeric_limits<std::size_t>::max();

    static const Json::Value* tree(const Node& node) {
        return node.m_index == kTree ? static_cast<const Json::Value*>(node.m_where) : nullptr;
    }
    static const Tape& tape(const Node& node) { return *static_cast<const Tape*>(node.m_where); }

    /// The value of a node on a tape without what is in it: its type alone decides what throws.
    static Json::Value shallowValue(const Node& node) {
        return tape(node).shallowValue(node.m_index);
    }
};

JsonDocument::Node::Node(const Json::Value& value) : Node(&value, Places::kTree) {}

JsonDocument::Node JsonDocument::Node::operator[](const std::string& name) const {
    if (const Json::Value* tree = Places::tree(*this)) {
        return (*tree)[name];
    }
    const Tape& tape = Places::tape(*this);
    std::size_t found = 0;
    if (tape.type(m_index) == Tape::kObject) {
        found = tape.member(m_index, name);
    } else {
        const Json::Value other = Places::shallowValue(*this);
        static_cast<void>(other[name]);
    }
    return found != 0 ? Node(&tape, found) : Node(Json::Value::nullSingleton());
}

std::vector<std::pair<std::string, JsonDocument::Node>> JsonDocument::Node::members() const {
    std::vector<std::pair<std::string, Node>> members;
    if (const Json::Value* tree = Places::tree(*this)) {
        for (const std::string& name : tree->getMemberNames()) {
            members.emplace_back(name, (*tree)[name]);
        }
        return members;
    }
    const Tape& tape = Places::tape(*this);
    if (tape.type(m_index) != Tape::kObject) {
        static_cast<void>(Places::shallowValue(*this).getMemberNames());
        return members;
    }
    const std::vector<std::uint32_t> names = tape.sortedNames(m_index);
    members.reserve(names.size());
    for (const std::uint32_t name : names) {
        members.emplace_back(tape.text(name), Node(&tape, name + 1));
    }
    return members;
}

JsonDocument::Node::Range JsonDocument::Node::elements() const {
    if (const Json::Value* tree = Places::tree(*this)) {
        if (tree->isObject() && !tree->empty()) {
            static_cast<void>((*tree)[0U]);
        }
        return {*this, 0, tree->isArray() ? tree->size() : 0};
    }
    const Tape& tape = Places::tape(*this);
    if (tape.type(m_index) == Tape::kArray) {
        return {*this, m_index + 1, tape.next(m_index) - 1};
    }
    if (tape.type(m_index) == Tape::kObject && !tape.isEnd(m_index + 1)) {
        const Json::Value other = Places::shallowValue(*this);
        static_cast<void>(other[0U]);
    }
    return {*this, 0, 0};
}

JsonDocument::Node::Range JsonDocument::Node::children() const {
    Range members(*this, 0, 0);
    if (const Json::Value* tree = Places::tree(*this)) {
        if (!tree->isObject()) {
            return elements();
        }
        members.m_members.assign(tree->begin(), tree->end());
    } else {
        const Tape& tape = Places::tape(*this);
        if (tape.type(m_index) != Tape::kObject) {
            return elements();
        }
        const std::vector<std::uint32_t> names = tape.sortedNames(m_index);
        members.m_members.reserve(names.size());
        for (const std::uint32_t name : names) {
            members.m_members.push_back(Node(&tape, name + 1));
        }
    }
    members.m_end = members.m_members.size();
    return members;
}

JsonDocument::Node JsonDocument::Node::Range::at(std::size_t place) const {
    if (!m_members.empty()) {
        return m_members[place];
    }
    if (const Json::Value* tree = Places::tree(m_container)) {
        return (*tree)[static_cast<Json::ArrayIndex>(place)];
    }
    return {m_container.m_where, place};
}

std::size_t JsonDocument::Node::Range::next(std::size_t place) const {
    const bool onTape = m_members.empty() && Places::tree(m_container) == nullptr;
    return onTape ? Places::tape(m_container).next(place) : place + 1;
}

std::string JsonDocument::Node::asString() const {
    if (const Json::Value* tree = Places::tree(*this)) {
        return tree->asString();
    }
    const Tape& tape = Places::tape(*this);
    switch (tape.type(m_index)) {
    case Tape::kText:
        return std::string(tape.text(m_index));
    case Tape::kSigned:
        return std::to_string(static_cast<std::int64_t>(tape.number(m_index)));
    case Tape::kUnsigned:
        return std::to_string(tape.number(m_index));
    case Tape::kDouble:
        return textOf(std::bit_cast<double>(tape.number(m_index)));
    default:
        return Places::shallowValue(*this).asString();
    }
}

int JsonDocument::Node::asInt() const {
    const Json::Value* tree = Places::tree(*this);
    return tree != nullptr ? tree->asInt() : Places::shallowValue(*this).asInt();
}

Json::Value JsonDocument::Node::value() const {
    try {
        const Json::Value* tree = Places::tree(*this);
        return tree != nullptr ? *tree : Places::tape(*this).value(m_index);
    } catch (const Json::Exception&) {
        throw std::bad_alloc(); // nothing else makes jsoncpp throw here
    }
}
