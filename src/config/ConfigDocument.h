// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/Node.h"

#include <json/value.h>

#include <cstddef>

namespace Quarncommon::config {

#ifdef SYSCONFREADER_WITH_DOCUMENT
using Document = JsonDocument;
#else
/// For a platform whose JSON library has no JsonDocument: builds the full tree.
class Document {
public:
    static constexpr std::size_t kPadding = 0;
    /// The JSON library does not report where it refuses a text.
    bool read(const char* text, std::size_t length, std::size_t* errorOffset = nullptr);
    rules::Node root() const { return m_tree; }

private:
    Json::Value m_tree;
};
#endif

} // namespace Quarncommon::config
