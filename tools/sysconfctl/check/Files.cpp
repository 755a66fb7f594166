// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

namespace sysconfctl {
namespace {

const char* effectOf(const View& view, const SourceFile* file) {
    if (file == view.appConfig) {
        return "databases, ports, addresses of the process and the node id are not loaded";
    }
    return file == view.nodeList
               ? "every address of this node but the maintenance address of the process is empty"
               : "master, standby and all queries over all nodes have no answer";
}

void checkUnreadable(Checker& checker, const View& view, const SourceFile& file) {
    const char* const effect = effectOf(view, &file);
    if (file.variable.value) {
        checker.environment(Severity::Error, "no-file",
                            fmt::format("the {} cannot be read ({}: {}): {}", file.title, file.path,
                                        file.unreadable, effect),
                            fmt::format("correct {}, or put the file there", file.variable.name));
        return;
    }
    // The manager node list is optional; the other two files are not.
    checker.environment(
        &file == view.managerNodeList ? Severity::Note : Severity::Error, "no-file",
        fmt::format("{} is not set, so there is no {}: {}", file.variable.name, file.title, effect),
        fmt::format("set {}", file.variable.name));
}

void checkFile(Checker& checker, const View& view, const SourceFile& file) {
    if (!file.unreadable.empty()) {
        checkUnreadable(checker, view, file);
    } else if (!file.loads) {
        const auto& error = file.document.error();
        checker.add({Severity::Error, error ? "syntax" : "refused",
                     fmt::format("{}: the file does not load, {}",
                                 error ? error->sentence : "the JSON library rejects the file",
                                 effectOf(view, &file)),
                     error ? error->hint : "", &file, error ? error->offset : 0, 1,
                     error ? located::pointer(error->path) : ""});
    }
}

bool isFlat(const located::Value& value) {
    return std::all_of(value.members.begin(), value.members.end(), [](const auto& member) {
        return member.value.members.empty() && member.value.elements.empty();
    });
}

void checkRepeated(Checker& checker, const SourceFile& file, const located::Value& value,
                   const located::Path& path) {
    std::map<std::string_view, const located::Member*> last;
    for (const located::Member& member : value.members) {
        last[member.name] = &member;
    }
    if (last.size() == value.members.size() && value.elements.empty() && isFlat(value)) {
        return;
    }
    for (std::size_t i = 0; i < value.elements.size(); ++i) {
        located::Path element = path;
        element.push_back(std::to_string(i));
        checkRepeated(checker, file, value.elements[i], element);
    }
    for (const located::Member& member : value.members) {
        located::Path place = path;
        place.push_back(member.name);
        const located::Member* const winner = last[member.name];
        if (winner != &member) {
            const located::Place where = file.document.place(winner->nameBegin);
            const std::string_view text = file.document.text();
            const auto verbatim = [&](const located::Value& one) {
                return text.substr(one.begin, one.end - one.begin);
            };
            // It is an error only if the values differ, so that one of them is ignored.
            const bool same = verbatim(member.value) == verbatim(winner->value);
            checker.add({same ? Severity::Warning : Severity::Error, "repeated-member",
                         fmt::format("\"{}\" is repeated at line {}, column {}: the last one wins",
                                     member.name, where.line, where.column),
                         "remove one of them", &file, member.nameBegin,
                         member.nameEnd - member.nameBegin, located::pointer(place)});
        } else {
            checkRepeated(checker, file, member.value, place);
        }
    }
}

} // namespace

void checkFiles(Checker& checker) {
    for (const std::string& sentence : checker.inventory.leftOut) {
        checker.environment(Severity::Warning, "left-out",
                            sentence + ": its processes are not checked", "");
    }
    std::set<const SourceFile*> seen;
    for (const View& view : checker.inventory.views) {
        for (const SourceFile* file : {view.appConfig, view.nodeList, view.managerNodeList}) {
            if (file == nullptr || !seen.insert(file).second) {
                continue;
            }
            checkFile(checker, view, *file);
            if (file->loads) {
                checkRepeated(checker, *file, file->document.root(), {});
            }
        }
    }
}

} // namespace sysconfctl
