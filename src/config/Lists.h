// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "config/JsonFiles.h"

#include "config/RememberedText.h"

#include <string>

/// Each call reads the file. If its bytes equal those of the last call, the parse of that call is
/// used again (docs/decisions/0010-remembered-lists.md).
namespace Quarncommon::config {

#ifdef SYSCONFREADER_WITH_DOCUMENT

class List {
public:
    rules::Node root() const { return parsed->parse->root(); }

    ParsedTextPointer parsed;
};

#else

/// Trees are not remembered: they take many times the memory of the text.
using List = Document;

#endif

ReadResult readNodeList(const std::string& path, List& list, TextPlace* fault = nullptr);
ReadResult readManagerNodeList(const std::string& path, List& list, TextPlace* fault = nullptr);

/// The same for a query, from the path that the environment gives.
ReadResult readNodeList(List& list, TextPlace* fault = nullptr);
/// Not parsed if the variable is unset.
ReadResult readManagerNodeList(List& list);

void forgetLists();

/// For a forked child.
void resetListsAfterFork();

} // namespace Quarncommon::config
