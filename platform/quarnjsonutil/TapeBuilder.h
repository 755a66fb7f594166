// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tape.h"

#include <rapidjson/reader.h>

#include <vector>

/// Writes a tape from RapidJSON's events. An event returns false, which ends the parse, if the
/// nesting exceeds the limit of JsonReader.
class TapeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TapeBuilder> {
public:
    using Length = rapidjson::SizeType;

    /// @param length The length of the text, which limits the size of the tape.
    explicit TapeBuilder(std::size_t length);

    bool Null() { return put(Tape::kNull); }
    bool Bool(bool truth) { return put(truth ? Tape::kTrue : Tape::kFalse); }
    bool RawNumber(const char* text, Length length, bool copy);
    bool String(const char* text, Length length, bool copy);
    bool Key(const char* name, Length length, bool copy) { return String(name, length, copy); }
    bool StartObject() { return open(Tape::kObject); }
    bool EndObject(Length /*length*/) { return close(Tape::kObjectEnd); }
    bool StartArray() { return open(Tape::kArray); }
    bool EndArray(Length /*length*/) { return close(Tape::kArrayEnd); }

    /// Complete after RapidJSON has reported success.
    Tape& tape() { return m_tape; }

private:
    bool put(Tape::Type type, Tape::Word rest = 0);
    bool open(Tape::Type type);
    bool close(Tape::Type type);

    Tape m_tape;
    std::size_t m_words = Tape::kRoot;
    std::size_t m_texts = 0;
    std::vector<std::size_t> m_open;
};
