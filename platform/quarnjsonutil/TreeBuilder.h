#pragma once

#include <json/value.h>
#include <rapidjson/reader.h>

#include <vector>

/// Builds the tree from what the strict reader reports, one event at a time. An event that answers
/// false ends the reading: nesting went beyond the limit of JsonReader.
class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder> {
public:
    using Length = rapidjson::SizeType;

    bool Null() { return put(Json::Value()); }
    bool Bool(bool truth) { return put(Json::Value(truth)); }
    bool RawNumber(const char* text, Length length, bool copy);
    bool String(const char* text, Length length, bool copy);
    bool StartObject() { return open(Json::objectValue); }
    bool Key(const char* name, Length length, bool copy);
    bool EndObject(Length /*count*/) { return close(); }
    bool StartArray() { return open(Json::arrayValue); }
    bool EndArray(Length /*count*/) { return close(); }
    /// The events of converted numbers, which the reader is told not to send.
    static bool Default() { return false; }

    /// Complete once the reader has reported success.
    Json::Value& tree() { return m_tree; }

private:
    bool put(Json::Value&& value);
    bool open(Json::ValueType type);
    bool close();
    Json::Value& place(Json::Value&& value);

    Json::Value m_tree;
    /// The arrays and objects whose end has not come yet, innermost last. They stay where they are:
    /// jsoncpp keeps children in a search tree, and nothing is assigned to a container before it is
    /// closed.
    std::vector<Json::Value*> m_open;
    /// Where the next value goes while the innermost container is an object.
    Json::Value* m_member = nullptr;
};
