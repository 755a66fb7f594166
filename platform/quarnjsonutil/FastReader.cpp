// SPDX-License-Identifier: Apache-2.0
#include "FastReader.h"

#include "JsonReader.h"

#include <simdjson.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace dom = simdjson::dom;

namespace {

const simdjson::implementation& bestImplementation() {
    const simdjson::implementation* const active = simdjson::get_active_implementation();
    static_cast<void>(active->name()); // its first use replaces it
    return *simdjson::get_active_implementation();
}

/// simdjson destroys the original when the process exits, while threads may still be parsing. The
/// object has no state except the pointer to its functions.
class LastingImplementation {
public:
    explicit LastingImplementation(const simdjson::implementation& chosen) {
        std::memcpy(m_bytes, static_cast<const void*>(&chosen), sizeof m_bytes);
    }
    const simdjson::implementation* operator->() const {
        return std::launder(reinterpret_cast<const simdjson::implementation*>(m_bytes));
    }

private:
    alignas(simdjson::implementation) std::byte m_bytes[sizeof(simdjson::implementation)];
};

/// Chosen when this library is loaded.
const LastingImplementation kImplementation(bestImplementation());

bool succeeded(simdjson::error_code error) {
    if (error == simdjson::MEMALLOC) {
        throw std::bad_alloc();
    }
    return error == simdjson::SUCCESS;
}

/// For a text of megabytes, page faults of 4 KiB each would take as long as reading it.
void preferLargePages(void* memory, std::size_t size) {
    constexpr std::size_t kWorthwhile = 4U << 20U;
    constexpr std::uintptr_t kPage = 4096;
    if (size < kWorthwhile) {
        return;
    }
    const auto first = (reinterpret_cast<std::uintptr_t>(memory) + kPage - 1) / kPage * kPage;
    const auto last = (reinterpret_cast<std::uintptr_t>(memory) + size) / kPage * kPage;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): only an integer can be rounded to a page
    ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

/// For the second stage. The tape of a valid text has at most three words more than the text has
/// structural characters and scalars, and its strings take at most one byte more for each of them
/// than the text has. A malformed text is refused before it needs more.
void allocate(dom::document& document, std::size_t length, std::size_t structurals) {
    constexpr std::size_t kRoom = 16;
    const std::size_t words = structurals + kRoom;
    // simdjson copies texts in blocks, beyond their end.
    const std::size_t bytes = length + structurals + simdjson::SIMDJSON_PADDING + kRoom;
    document.tape.reset(new std::uint64_t[words]);
    document.string_buf.reset(new std::uint8_t[bytes]);
    preferLargePages(document.tape.get(), words * sizeof(std::uint64_t));
    preferLargePages(document.string_buf.get(), bytes);
}

/// It may have more than 19 digits.
bool isLongNumber(const std::uint8_t* scalar, std::size_t distanceToNext) {
    constexpr std::size_t kLong = 20;
    return distanceToNext > kLong && (*scalar == '-' || (*scalar >= '0' && *scalar <= '9')) &&
           scalar[kLong] > ' ';
}

/// To round a number of more than 19 digits with a large exponent, simdjson may take 10
/// microseconds, a hundred times as long as readStrictly takes. If a text has enough of them to
/// delay a reader, some are among those that are looked at, which no text can predict. Looking at
/// all structural characters and scalars would delay the reading of every text.
bool hasManyLongNumbers(const std::uint8_t* text, const std::uint32_t* structurals,
                        std::size_t number) {
    // The addresses of a process are random.
    auto random = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(structurals) >> 4U);
    const auto stepFrom = [&](std::size_t at) {
        random = random * 1664525 + 1013904223; // whose upper bits are more random
        constexpr std::size_t kFirst = 16;
        constexpr std::size_t kLongest = 1024;
        return 1 + (random * std::uint64_t{std::min(kFirst + at / kFirst, kLongest)} >> 32U);
    };
    // simdjson adds the end of the text to the structurals.
    for (std::size_t at = stepFrom(0); at < number; at += stepFrom(at)) {
        if (isLongNumber(text + structurals[at], structurals[at + 1] - structurals[at])) {
            return true;
        }
    }
    return false;
}

} // namespace

// As dom::parser does, but in memory that belongs to the tape and is no larger than necessary.
bool readFast(const char* text, std::size_t length, Tape& tape) {
    std::unique_ptr<simdjson::internal::dom_parser_implementation> parser;
    if (length > JsonReader::kTextLimit ||
        !succeeded(kImplementation->create_dom_parser_implementation(
            length, JsonReader::kNestingLimit, parser))) {
        return false;
    }
    preferLargePages(parser->structural_indexes.get(), length * sizeof(std::uint32_t));
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text);
    if (!succeeded(parser->stage1(bytes, length, simdjson::stage1_mode::regular)) ||
        hasManyLongNumbers(bytes, parser->structural_indexes.get(), parser->n_structural_indexes)) {
        return false;
    }
    dom::document document;
    allocate(document, length, parser->n_structural_indexes);
    if (!succeeded(parser->stage2(document))) {
        return false;
    }
    tape.words = std::move(document.tape);
    tape.texts = std::move(document.string_buf);
    return true;
}
