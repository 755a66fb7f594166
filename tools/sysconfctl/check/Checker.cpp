// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "cli/Suggestion.h"

#include <arpa/inet.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <tuple>

namespace sysconfctl {
namespace {

int orderOf(const Sources& sources, const SourceFile* file) {
    return file == nullptr ? 0 : file == &sources.appConfig ? 1 : file == &sources.nodeList ? 2 : 3;
}

} // namespace

Checker::Checker(const Sources& read) : sources(read) {
    m_loaded.load(read);
}

void Checker::environment(Severity severity, std::string_view name, std::string sentence,
                          std::string hint) {
    findings.push_back({severity, name, std::move(sentence), std::move(hint)});
}

void Checker::at(const SourceFile& file, const located::Path& path, Severity severity,
                 std::string_view name, std::string sentence, std::string hint) {
    located::Path nearest = path;
    const located::Value* value = file.document.find(nearest);
    while (value == nullptr && !nearest.empty()) {
        nearest.pop_back();
        value = file.document.find(nearest);
    }
    // What is missing is told at the name of the object that should have it.
    const located::Member* const owner = file.document.findMember(nearest);
    if (nearest != path && owner != nullptr) {
        member(file, nearest, severity, name, std::move(sentence), std::move(hint));
        return;
    }
    const bool nested = value->kind == located::Kind::Array || value->kind == located::Kind::Object;
    findings.push_back({severity, name, std::move(sentence), std::move(hint), &file, value->begin,
                        nested ? 1 : value->end - value->begin, located::pointer(path)});
}

void Checker::member(const SourceFile& file, const located::Path& path, Severity severity,
                     std::string_view name, std::string sentence, std::string hint) {
    const located::Member* const named = file.document.findMember(path);
    if (named == nullptr) {
        at(file, path, severity, name, std::move(sentence), std::move(hint));
        return;
    }
    findings.push_back({severity, name, std::move(sentence), std::move(hint), &file,
                        named->nameBegin, named->nameEnd - named->nameBegin,
                        located::pointer(path)});
}

void Checker::unknownMembers(const SourceFile& file, const located::Path& path,
                             const std::vector<std::string_view>& known) {
    const located::Value* const object = file.document.find(path);
    if (object == nullptr) {
        return;
    }
    for (const located::Member& read : object->members) {
        if (std::find(known.begin(), known.end(), read.name) != known.end()) {
            continue;
        }
        const std::string near = suggestion(read.name, known);
        if (!near.empty() && object->member(near) == nullptr) {
            located::Path place = path;
            place.push_back(read.name);
            member(file, place, Severity::Warning, "unknown-member",
                   fmt::format("\"{}\" is not read, and \"{}\" is absent", read.name, near),
                   fmt::format("did you mean \"{}\"?", near));
        }
    }
}

bool isAddress(const std::string& text) {
    std::array<unsigned char, 16> bytes{};
    return ::inet_pton(AF_INET, text.c_str(), bytes.data()) == 1 ||
           ::inet_pton(AF_INET6, text.c_str(), bytes.data()) == 1;
}

std::vector<Finding> findingsOf(const Sources& sources) {
    Checker checker(sources);
    checkFiles(checker);
    checkAppConfig(checker);
    checkNodeList(checker, sources.nodeList);
    checkNodeList(checker, sources.managerNodeList);
    checkDeployment(checker);
    std::stable_sort(checker.findings.begin(), checker.findings.end(),
                     [&](const Finding& left, const Finding& right) {
                         return std::make_tuple(orderOf(sources, left.file), left.offset) <
                                std::make_tuple(orderOf(sources, right.file), right.offset);
                     });
    return std::move(checker.findings);
}

} // namespace sysconfctl
