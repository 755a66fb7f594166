// SPDX-License-Identifier: Apache-2.0
#include "JsonReader.h"

#include "StrictReader.h"
#include "Tape.h"

#include <json/reader.h>

#include <memory>
#include <new>

namespace {

bool readTree(const std::string& text, Json::Value& value) {
    Tape tape;
    if (!readStrictly(text, tape)) {
        return false;
    }
    Json::Value tree = tape.value(Tape::kRoot);
    value.swap(tree);
    return true;
}

bool readLeniently(const std::string& text, Json::Value& value) {
    Json::CharReaderBuilder builder;
    builder["stackLimit"] = static_cast<Json::UInt>(JsonReader::kLenientNestingLimit);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value tree;
    if (!reader->parse(text.data(), text.data() + text.size(), &tree, nullptr)) {
        return false;
    }
    value.swap(tree);
    return true;
}

} // namespace

JsonReader::JsonReader(bool lenient) : m_lenient(lenient) {}

bool JsonReader::parse(const std::string& text, Json::Value& value) {
    try {
        return m_lenient ? readLeniently(text, value) : readTree(text, value);
    } catch (const Json::Exception&) {
        // The lenient reader throws for deep nesting, both when memory runs out.
        if (m_lenient) {
            return false;
        }
        throw std::bad_alloc();
    }
}
