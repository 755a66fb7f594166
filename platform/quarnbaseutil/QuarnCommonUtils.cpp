// SPDX-License-Identifier: Apache-2.0
#include "QuarnCommonUtils.h"

#include <cstdlib>
#include <string_view>

void QuarnCommonUtils::split(const std::string& text, const std::string& separator,
                             std::list<std::string>& pieces) {
    if (text.empty()) {
        return;
    }
    std::list<std::string> found;
    std::size_t begin = 0;
    if (!separator.empty()) {
        for (std::size_t end = 0; (end = text.find(separator, begin)) != std::string::npos;) {
            found.emplace_back(text, begin, end - begin);
            begin = end + separator.size();
        }
    }
    found.emplace_back(text, begin);
    pieces.splice(pieces.end(), found);
}

std::string QuarnCommonUtils::Quarngetenv(const std::string& name) {
    // getenv(3) ignores what follows a NUL byte, and finds "A=B" in an environment with A=B=C.
    constexpr std::string_view kImpossible("=\0", 2);
    if (name.find_first_of(kImpossible) != std::string::npos) {
        return {};
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): callers do not change the environment.
    const char* const value = std::getenv(name.c_str());
    return value == nullptr ? std::string() : std::string(value);
}
