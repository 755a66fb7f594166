// SPDX-License-Identifier: Apache-2.0
// Any bytes: JsonReader and the tool's reader, which records positions, accept them if an
// independent reader (see Judge.h) does, with the same values.

#include "Judge.h"

#include <JsonReader.h>
#include <located/Document.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

/// Doubles are compared bit by bit.
bool same(const Json::Value& one, const Json::Value& other) {
    if (one.type() != other.type() || one.size() != other.size()) {
        return false;
    }
    if (one.type() == Json::realValue) {
        return std::bit_cast<std::uint64_t>(one.asDouble()) ==
               std::bit_cast<std::uint64_t>(other.asDouble());
    }
    if (!one.isArray() && !one.isObject()) {
        return one == other;
    }
    if (one.isObject() && one.getMemberNames() != other.getMemberNames()) {
        return false;
    }
    const auto sameChild = [](const Json::Value& a, const Json::Value& b) { return same(a, b); };
    return std::equal(one.begin(), one.end(), other.begin(), sameChild);
}

/// Malformed texts that the judge accepts and JsonReader must refuse.
bool isBeyondTheJudge(std::string_view text) {
    return text.find('\0') != std::string_view::npos || text.starts_with("\xEF\xBB\xBF");
}

bool readsLike(const judge::Verdict& verdict, const std::string& text) {
    Json::Value value;
    const bool accepted = JsonReader(false).parse(text, value);
    require(accepted == (verdict.nesting <= JsonReader::kNestingLimit),
            accepted ? "nested too deeply, but accepted" : "a JSON text, but refused");
    require(!accepted || same(value, verdict.value), "another value than the judge's");
    return accepted;
}

bool isAcceptable(const std::string& text) {
    if (isBeyondTheJudge(text)) {
        return false;
    }
    if (const auto verdict = judge::read(text)) {
        return readsLike(*verdict, text);
    }
    // The judge may have refused it as unsupported.
    const std::string other = judge::supported(text);
    const auto verdict = judge::read(other);
    return verdict && readsLike(*verdict, other);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Json::Value value("before");
    const bool accepted = JsonReader(false).parse(text, value);
    const bool acceptable = isAcceptable(text);
    require(accepted == acceptable,
            acceptable ? "a JSON text, but refused" : "no JSON text, but accepted");
    require(accepted || value == Json::Value("before"), "refused, but the value was replaced");

    const sysconfctl::located::Document located(text);
    require(accepted == !located.error(), "the tool's reader is of another opinion");

    Json::Value lenient("before");
    require(JsonReader(true).parse(text, lenient) || lenient == Json::Value("before"),
            "refused by the lenient reader, but the value was replaced");
    return 0;
}
