// SPDX-License-Identifier: Apache-2.0
#include "rules/NodeList.h"

#include <cctype>

namespace Quarncommon::rules {

std::string lowerCased(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

} // namespace Quarncommon::rules
