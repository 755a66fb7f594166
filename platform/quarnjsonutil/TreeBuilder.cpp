#include "TreeBuilder.h"

#include "JsonReader.h"
#include "Numbers.h"

#include <utility>

bool TreeBuilder::RawNumber(const char* text, Length length, bool /*copy*/) {
    return put(numberValue(text, text + length));
}

bool TreeBuilder::String(const char* text, Length length, bool /*copy*/) {
    return put(Json::Value(text, text + length));
}

bool TreeBuilder::Key(const char* name, Length length, bool /*copy*/) {
    m_member = m_open.back()->demand(name, name + length);
    return true;
}

bool TreeBuilder::put(Json::Value&& value) {
    place(std::move(value));
    return true;
}

bool TreeBuilder::open(Json::ValueType type) {
    if (m_open.size() == JsonReader::kNestingLimit) {
        return false;
    }
    m_open.push_back(&place(Json::Value(type)));
    return true;
}

bool TreeBuilder::close() {
    m_open.pop_back();
    return true;
}

Json::Value& TreeBuilder::place(Json::Value&& value) {
    if (m_open.empty()) {
        return m_tree = std::move(value);
    }
    Json::Value& container = *m_open.back();
    if (container.isArray()) {
        return container.append(std::move(value));
    }
    return *m_member = std::move(value);
}
