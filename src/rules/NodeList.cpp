// SPDX-License-Identifier: Apache-2.0
#include "rules/NodeList.h"

#include <cctype>

namespace Quarncommon::rules {

namespace {

/// Without a call: tolower() changes upper-case letters only, and these are none in any locale.
bool isLowerCaseOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

} // namespace

std::string lowerCased(std::string text) {
    for (char& c : text) {
        if (!isLowerCaseOrDigit(c)) {
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return text;
}

} // namespace Quarncommon::rules
