// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include <fmt/format.h>

#include <map>

namespace sysconfctl {
namespace {

/// What the library does without the file.
std::string effectOf(const Checker& checker, const SourceFile& file) {
    if (&file == &checker.sources.appConfig) {
        return "databases, ports, addresses of the process and the node id are not loaded";
    }
    if (&file == &checker.sources.nodeList) {
        return "every address of this node but the maintenance address of the process is empty";
    }
    return "master, standby and all queries over all nodes have no answer";
}

void checkFile(Checker& checker, const SourceFile& file) {
    const std::string effect = effectOf(checker, file);
    if (!file.unreadable.empty()) {
        const bool manager = &file == &checker.sources.managerNodeList;
        const bool optional = manager && !file.variable.value;
        const std::string sentence =
            file.variable.value ? fmt::format("the {} cannot be read ({}: {}): {}", file.title,
                                              file.path, file.unreadable, effect)
                                : fmt::format("{} is not set, so there is no {}: {}",
                                              file.variable.name, file.title, effect);
        checker.environment(optional ? Severity::Warning : Severity::Error, "no-file", sentence,
                            fmt::format("{} leads to the file", file.variable.name));
        return;
    }
    if (file.loads) {
        return;
    }
    if (const auto& error = file.document.error()) {
        checker.findings.push_back(
            {Severity::Error, "syntax",
             fmt::format("{}: the file does not load, {}", error->sentence, effect), error->hint,
             &file, error->offset, 1, located::pointer(error->path)});
        return;
    }
    checker.findings.push_back({Severity::Error, "refused",
                                fmt::format("the JSON library refuses the file: {}", effect), "",
                                &file, 0, 1});
}

/// Members that are repeated: only the last one counts.
void checkRepeated(Checker& checker, const SourceFile& file, const located::Value& value,
                   const located::Path& path) {
    std::map<std::string_view, const located::Member*> last;
    for (const located::Member& member : value.members) {
        last[member.name] = &member;
    }
    for (std::size_t i = 0; i < value.elements.size(); ++i) {
        located::Path element = path;
        element.push_back(std::to_string(i));
        checkRepeated(checker, file, value.elements[i], element);
    }
    for (const located::Member& member : value.members) {
        located::Path place = path;
        place.push_back(member.name);
        const located::Member* const counts = last[member.name];
        if (counts != &member) {
            const located::Place where = file.document.place(counts->nameBegin);
            checker.findings.push_back(
                {Severity::Warning, "repeated-member",
                 fmt::format("\"{}\" is repeated at line {}, column {}: the last one counts, this "
                             "one does not",
                             member.name, where.line, where.column),
                 "remove one of them", &file, member.nameBegin, member.nameEnd - member.nameBegin,
                 located::pointer(place)});
        } else {
            checkRepeated(checker, file, member.value, place);
        }
    }
}

} // namespace

void checkFiles(Checker& checker) {
    for (const SourceFile* file : {&checker.sources.appConfig, &checker.sources.nodeList,
                                   &checker.sources.managerNodeList}) {
        checkFile(checker, *file);
        if (file->loads) {
            checkRepeated(checker, *file, file->document.root(), {});
        }
    }
}

} // namespace sysconfctl
