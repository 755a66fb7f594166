// SPDX-License-Identifier: Apache-2.0
#include "config/Lists.h"

#include "config/ConfigFiles.h"

#include <optional>
#include <utility>

namespace Quarncommon::config {

#ifdef SYSCONFREADER_WITH_DOCUMENT

namespace {

/// A ListMemory that is never destroyed: threads may still query while the process exits.
union LastingMemory {
    constexpr LastingMemory() = default;
    LastingMemory(const LastingMemory&) = delete;
    LastingMemory& operator=(const LastingMemory&) = delete;
    ~LastingMemory() {} // NOLINT(modernize-use-equals-default): that would be deleted

    ListMemory memory{};
};

constinit LastingMemory g_nodeList;
constinit LastingMemory g_managerNodeList;

enum class Comparison { None, WhileReading, AfterReading };

/// When a text is compared with the kept one: while it is read, so that an equal text is not
/// stored. If the list probably changes again, comparing costs more than it saves: then every
/// fourth text is compared, after it has been read.
Comparison comparisonWith(const ParsedTextPointer& known) {
    if (known == nullptr) {
        return Comparison::None;
    }
    const unsigned int unused = known->unusedNow();
    if (!keepsChanging(unused)) {
        return Comparison::WhileReading;
    }
    return unused % 4 == 0 ? Comparison::AfterReading : Comparison::None;
}

ReadResult readList(const std::string& path, ListMemory& memory, List& list, TextPlace* fault) {
    const ParsedTextPointer known = memory.current();
    FileText text;
    const Comparison comparison = comparisonWith(known);
    const ReadResult result =
        readWhole(path, text, comparison == Comparison::WhileReading ? known->text.get() : nullptr);
    if (!result) {
        return result;
    }
    const bool same = comparison != Comparison::None && text == *known->text;
    list.parsed = same ? parseAgain(known, memory) : parseNew(text, known, memory);
    const ParsedText& parsed = *list.parsed;
    if (!parsed.errorOffset) {
        return result;
    }
    if (fault != nullptr) {
        *fault = placeOf(*parsed.errorOffset, *parsed.text);
    }
    return ReadResult::Outcome::Malformed;
}

} // namespace

ReadResult readNodeList(const std::string& path, List& list, TextPlace* fault) {
    return readList(path, g_nodeList.memory, list, fault);
}

ReadResult readManagerNodeList(const std::string& path, List& list, TextPlace* fault) {
    return readList(path, g_managerNodeList.memory, list, fault);
}

void forgetLists() {
    g_nodeList.memory.keep(nullptr);
    g_managerNodeList.memory.keep(nullptr);
}

void resetListsAfterFork() {
    g_nodeList.memory.resetAfterFork();
    g_managerNodeList.memory.resetAfterFork();
}

#else

ReadResult readNodeList(const std::string& path, List& list, TextPlace* fault) {
    return readJsonFile(path, list, fault);
}

ReadResult readManagerNodeList(const std::string& path, List& list, TextPlace* fault) {
    return readJsonFile(path, list, fault);
}

void forgetLists() {}

void resetListsAfterFork() {}

#endif

ReadResult readNodeList(List& list, TextPlace* fault) {
    return readNodeList(pathOf(kNodeList), list, fault);
}

ReadResult readManagerNodeList(List& list) {
    const std::optional<std::string> path = pathIfSet(kManagerNodeList);
    return path ? readManagerNodeList(*path, list) : ReadResult::Outcome::Unreadable;
}

} // namespace Quarncommon::config
