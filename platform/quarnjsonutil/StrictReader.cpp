// SPDX-License-Identifier: Apache-2.0
#include "StrictReader.h"

#include "JsonReader.h"
#include "RespelledText.h"
#include "TapeBuilder.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace {

/// The memory of RapidJSON's stack. RapidJSON does not check the pointer that it gets.
struct ThrowingAllocator {
    static void* Realloc(void* memory, std::size_t /*oldSize*/, std::size_t newSize) {
        void* moved = std::realloc(memory, newSize);
        if (moved == nullptr) {
            throw std::bad_alloc();
        }
        return moved;
    }
    static void Free(void* memory) { std::free(memory); }
};

using Utf8 = rapidjson::UTF8<>;
using Reader = rapidjson::GenericReader<Utf8, Utf8, ThrowingAllocator>;

/// Not recursive. Numbers as texts, because RapidJSON does not always round them correctly.
constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

rapidjson::ParseResult read(std::string_view text, Tape& tape) {
    ThrowingAllocator allocator;
    Reader reader(&allocator);
    rapidjson::MemoryStream stream(text.data(), text.size());
    TapeBuilder builder(text.size());
    const rapidjson::ParseResult result = reader.Parse<kFlags>(stream, builder);
    if (result.IsError()) {
        return result;
    }
    // RapidJSON stops at a NUL byte.
    if (stream.Tell() != text.size()) {
        return {rapidjson::kParseErrorDocumentRootNotSingular, stream.Tell()};
    }
    tape = std::move(builder.tape());
    return {};
}

bool needsRespelling(rapidjson::ParseErrorCode error) {
    return error == rapidjson::kParseErrorNumberTooBig ||
           error == rapidjson::kParseErrorStringUnicodeSurrogateInvalid;
}

} // namespace

bool readStrictly(std::string_view text, Tape& tape, std::size_t* errorOffset) {
    std::size_t unused = 0;
    if (errorOffset == nullptr) {
        errorOffset = &unused;
    }
    *errorOffset = std::string_view::npos;
    if (text.size() > JsonReader::kTextLimit) {
        return false;
    }
    const rapidjson::ParseResult result = read(text, tape);
    if (needsRespelling(result.Code())) {
        return !read(respelled(text), tape).IsError();
    }
    *errorOffset = result.Offset();
    return !result.IsError();
}
