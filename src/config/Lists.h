// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "config/JsonFiles.h"

#include "config/RememberedText.h"

#include <string>

/// Reading the two node lists. Each call reads the file. If its bytes equal those of the last call,
/// the parse of that call is used again; time stamps and identities of files are not trusted.
namespace Quarncommon::config {

#ifdef SYSCONFREADER_WITH_DOCUMENT

/// A parsed list, which other threads may use too.
class List {
public:
    rules::Node root() const { return parsed->parse->root(); }

    ParsedTextPointer parsed;
};

#else

/// A parsed list. Trees are not remembered: they take many times the memory of the text.
using List = Document;

#endif

/// Reads a list from its path. See readJsonFile for limits and errors.
ReadResult readNodeList(const std::string& path, List& list, TextPlace* fault = nullptr);
ReadResult readManagerNodeList(const std::string& path, List& list, TextPlace* fault = nullptr);

/// The same for a query, from the path that the environment gives.
ReadResult readNodeList(List& list, TextPlace* fault = nullptr);
/// Not parsed if the variable is unset.
ReadResult readManagerNodeList(List& list);

/// Frees the remembered texts.
void forgetLists();

/// For a forked child.
void resetListsAfterFork();

} // namespace Quarncommon::config
