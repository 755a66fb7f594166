// SPDX-License-Identifier: Apache-2.0
#include "TapeBuilder.h"

#include "JsonReader.h"
#include "Numbers.h"

#include <cstring>

// The worst cases: a digit and a comma become two words, an empty text and a comma four bytes.
// Memory that is never written to costs nothing.
TapeBuilder::TapeBuilder(std::size_t length) {
    constexpr std::size_t kRoom = 8;
    m_tape.words = std::make_unique_for_overwrite<Tape::Word[]>(length + kRoom);
    m_tape.texts = std::make_unique_for_overwrite<std::uint8_t[]>(2 * length + kRoom);
}

bool TapeBuilder::RawNumber(const char* text, Length length, bool /*copy*/) {
    const Number number = numberOf(text, text + length);
    put(number.type);
    m_tape.words[m_words++] = number.bits;
    return true;
}

bool TapeBuilder::String(const char* text, Length length, bool /*copy*/) {
    put(Tape::kText, m_texts);
    std::uint8_t* const start = m_tape.texts.get() + m_texts;
    std::memcpy(start, &length, sizeof length);
    std::memcpy(start + sizeof length, text, length);
    m_texts += sizeof length + length;
    return true;
}

bool TapeBuilder::put(Tape::Type type, Tape::Word rest) {
    m_tape.words[m_words++] = static_cast<Tape::Word>(type) << Tape::kTypeShift | rest;
    return true;
}

bool TapeBuilder::open(Tape::Type type) {
    if (m_open.size() == JsonReader::kNestingLimit) {
        return false;
    }
    m_open.push_back(m_words);
    return put(type);
}

bool TapeBuilder::close(Tape::Type type) {
    put(type);
    m_tape.words[m_open.back()] |= m_words;
    m_open.pop_back();
    return true;
}
