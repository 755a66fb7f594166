#include "JsonReader.h"

#include "RespelledText.h"
#include "TreeBuilder.h"

#include <json/reader.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

namespace {

/// The memory of RapidJSON's stack, which is used without a look at the pointer that it gets.
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

/// Iterative, so that reading takes no stack for nesting; numbers as texts, because RapidJSON does
/// not always round them correctly.
constexpr unsigned kStrict = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

rapidjson::ParseErrorCode read(std::string_view text, Json::Value& value) {
    ThrowingAllocator allocator;
    Reader reader(&allocator);
    rapidjson::MemoryStream stream(text.data(), text.size());
    TreeBuilder builder;
    const rapidjson::ParseResult result = reader.Parse<kStrict>(stream, builder);
    if (result.IsError()) {
        return result.Code();
    }
    // A NUL byte is to RapidJSON the end of the text.
    if (stream.Tell() != text.size()) {
        return rapidjson::kParseErrorDocumentRootNotSingular;
    }
    value.swap(builder.tree());
    return rapidjson::kParseErrorNone;
}

bool readStrictly(const std::string& text, Json::Value& value) {
    if (text.size() > JsonReader::kTextLimit) {
        return false;
    }
    rapidjson::ParseErrorCode error = read(text, value);
    if (error == rapidjson::kParseErrorNumberTooBig ||
        error == rapidjson::kParseErrorStringUnicodeSurrogateInvalid) {
        error = read(respelled(text), value);
    }
    return error == rapidjson::kParseErrorNone;
}

bool readLeniently(const std::string& text, Json::Value& value) {
    Json::CharReaderBuilder builder;
    builder["stackLimit"] = static_cast<Json::UInt>(JsonReader::kNestingLimit);
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
        return m_lenient ? readLeniently(text, value) : readStrictly(text, value);
    } catch (const Json::Exception&) {
        // The lenient reader's word for nesting that is too deep. The strict one never gets here
        // over a text: within its limits, only memory that has run out makes jsoncpp throw.
        if (m_lenient) {
            return false;
        }
        throw std::bad_alloc();
    }
}
