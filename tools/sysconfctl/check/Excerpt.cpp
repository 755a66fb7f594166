// SPDX-License-Identifier: Apache-2.0
#include "check/Finding.h"

#include "render/Masking.h"
#include "render/Text.h"

#include <config/ConfigFiles.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace sysconfctl {
namespace {

using Range = std::pair<std::size_t, std::size_t>;

constexpr std::string_view kProcesses = "processes";

/// `siblings` are in text order. An incomplete value extends to the end of the text.
template <typename Siblings, typename ValueOf, typename Visit>
void visitWithin(const Siblings& siblings, const Range& range, ValueOf valueOf, Visit visit) {
    auto sibling = std::partition_point(siblings.begin(), siblings.end(), [&](const auto& each) {
        const located::Value& value = valueOf(each);
        return value.begin < value.end && value.end <= range.first;
    });
    for (; sibling != siblings.end() && valueOf(*sibling).begin < range.second; ++sibling) {
        visit(*sibling);
    }
}

bool isNested(const located::Value& value) {
    return value.kind == located::Kind::Array || value.kind == located::Kind::Object;
}

Range rangeOf(const located::Value& value) {
    return {value.begin, value.end > value.begin ? value.end : std::string::npos};
}

/// Follows the same rules as mask().
void collectEntrySecrets(const located::Value& entry, const Range& range,
                         std::vector<Range>& secrets) {
    if (!isNested(entry)) {
        secrets.push_back(rangeOf(entry));
    }
    visitWithin(entry.elements, range, std::identity(), [&](const located::Value& element) {
        collectEntrySecrets(element, range, secrets);
    });
    visitWithin(entry.members, range, std::mem_fn(&located::Member::value),
                [&](const located::Member& member) {
                    const located::Value& value = member.value;
                    if (member.name == kNestedFields && value.kind == located::Kind::Object) {
                        collectEntrySecrets(value, range, secrets);
                    } else if (!isShownField(member.name) || isNested(value) ||
                               value.end <= value.begin || holdsLoginData(value.text)) {
                        secrets.push_back(rangeOf(value));
                    }
                });
}

void collectNamedSecrets(const located::Value& value, const Range& range,
                         std::vector<Range>& secrets) {
    visitWithin(value.elements, range, std::identity(), [&](const located::Value& element) {
        collectNamedSecrets(element, range, secrets);
    });
    visitWithin(value.members, range, std::mem_fn(&located::Member::value),
                [&](const located::Member& member) {
                    if (indicatesPassword(member.name)) {
                        secrets.push_back(rangeOf(member.value));
                    } else {
                        collectNamedSecrets(member.value, range, secrets);
                    }
                });
}

bool isAppConfig(const SourceFile& file) {
    return file.variable.name == Quarncommon::config::kAppConfig.variable;
}

/// In an app config file, everything except "processes" is treated as databases: they may have a
/// misspelt name or be in the wrong place.
void collectSecrets(const SourceFile& file, const Range& range, std::vector<Range>& secrets) {
    const located::Value& root = file.document.root();
    if (!isAppConfig(file)) {
        collectNamedSecrets(root, range, secrets);
        return;
    }
    if (root.kind != located::Kind::Object) {
        collectEntrySecrets(root, range, secrets);
    }
    visitWithin(root.members, range, std::mem_fn(&located::Member::value),
                [&](const located::Member& member) {
                    if (member.name == kProcesses) {
                        collectNamedSecrets(member.value, range, secrets);
                        return;
                    }
                    if (!isNested(member.value)) {
                        secrets.push_back(rangeOf(member.value));
                    }
                    visitWithin(member.value.elements, range, std::identity(),
                                [&](const located::Value& each) {
                                    collectEntrySecrets(each, range, secrets);
                                });
                    visitWithin(member.value.members, range, std::mem_fn(&located::Member::value),
                                [&](const located::Member& database) {
                                    collectEntrySecrets(database.value, range, secrets);
                                });
                });
}

/// The end of the part of a line that cannot contain a database secret, in a file with a syntax
/// error: in an app config file the error, or the end of a known field name there; the end of the
/// line in other files, and inside "processes" if no database follows on the line.
std::size_t endOfUnderstood(const SourceFile& file, const Range& line) {
    const located::SyntaxError& error = *file.document.error();
    const std::string_view text(file.document.text());
    const std::size_t begin = std::clamp(error.offset, line.first, line.second);
    const std::string_view rest = text.substr(begin, line.second - begin);
    const bool inProcess = !error.path.empty() && error.path.front() == kProcesses;
    if (!isAppConfig(file) || (inProcess && rest.find("atabase") == std::string_view::npos)) {
        return line.second;
    }
    constexpr std::array<std::string_view, 11> kNames = {
        "databases",   "processes",  "passwd", "instanceExt", "accessHost", "accessPort",
        "serviceName", "serverName", "type",   "user",        "lib"};
    for (const std::string_view name : kNames) {
        const std::string quoted = fmt::format("\"{}\":", name);
        if (rest.starts_with(quoted)) {
            return begin + quoted.size();
        }
    }
    return begin;
}

/// In a file with a syntax error, the shown part ends after a word that indicates a password, or
/// before a \u escape, which may spell one. Nothing is shown of a continued password member.
std::size_t readableLength(const located::Document& document, std::size_t number) {
    const std::string_view line = document.line(number);
    const auto& path = document.error()->path;
    const bool inside = std::any_of(
        path.begin(), path.end(), [](const std::string& step) { return indicatesPassword(step); });
    std::size_t before = number - 1;
    while (before > 0 && document.line(before).find_first_not_of(" \t") == std::string_view::npos) {
        --before;
    }
    const std::string_view previous = before > 0 ? document.line(before) : std::string_view();
    const bool continues = indicatesPassword(std::string(previous)) &&
                           previous.find_last_not_of(" \t") != std::string_view::npos &&
                           previous[previous.find_last_not_of(" \t")] != ',';
    if (inside || continues) {
        return 0;
    }
    const std::size_t length = std::min(line.find("\\u"), line.size());
    return std::min(length, endOfPasswordWord(std::string(line.substr(0, length))));
}

bool isSecret(std::size_t at, const std::vector<Range>& secrets) {
    return std::any_of(secrets.begin(), secrets.end(),
                       [&](const Range& range) { return at >= range.first && at < range.second; });
}

/// Each contiguous run of secret bytes becomes one mask.
std::string shown(std::string_view text, std::size_t begin, std::size_t end,
                  const std::vector<Range>& secrets) {
    std::string result;
    std::string plain;
    const auto flush = [&] {
        std::replace(plain.begin(), plain.end(), '\t', ' ');
        result += escaped(plain);
        plain.clear();
    };
    for (std::size_t at = begin; at < end; ++at) {
        if (!isSecret(at, secrets)) {
            plain += text[at];
        } else if (at == begin || !isSecret(at - 1, secrets)) {
            flush();
            result += kMask;
        }
    }
    flush();
    return result;
}

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U;
}

std::string lastColumns(std::string_view text, std::size_t width) {
    std::size_t columns = displayWidth(text);
    while (columns > width) {
        std::size_t length = 1;
        while (length < text.size() && continuesCharacter(text[length])) {
            ++length;
        }
        columns -= displayWidth(text.substr(0, length));
        text.remove_prefix(length);
    }
    return std::string(text);
}

/// Without this limit, a file of many megabytes on one line would be processed for each finding.
Range neighbourhood(std::string_view text, const Range& line, const Range& meant,
                    std::size_t width) {
    constexpr std::size_t kLongestCharacter = 4;
    const std::size_t reach = kLongestCharacter * width;
    std::size_t begin = meant.first - std::min(meant.first - line.first, reach);
    while (begin < meant.first && continuesCharacter(text[begin])) {
        ++begin;
    }
    std::size_t end = meant.second + std::min(line.second - meant.second, reach);
    while (end < line.second && end > meant.second && continuesCharacter(text[end])) {
        --end;
    }
    return {begin, end};
}

} // namespace

std::vector<std::string> excerpt(const Finding& finding, std::size_t width, bool reveal) {
    if (finding.file == nullptr || !finding.offset) {
        return {};
    }
    const located::Document& document = finding.file->document;
    const std::size_t number = document.place(*finding.offset).line;
    const std::string_view line = document.line(number);
    const std::size_t start = document.lineStart(number);
    const std::size_t end = start + line.size();
    const auto secretsWithin = [&](const Range& range) {
        std::vector<Range> secrets;
        if (reveal) {
            return secrets;
        }
        collectSecrets(*finding.file, range, secrets);
        if (document.error()) {
            const std::size_t readable = start + readableLength(document, number);
            secrets.emplace_back(std::min(readable, endOfUnderstood(*finding.file, {start, end})),
                                 end);
        }
        return secrets;
    };
    std::size_t from = std::min(*finding.offset, end);
    std::size_t to = std::min(end, from + finding.length);
    for (const Range& secret : secretsWithin({from, from + 1})) {
        if (isSecret(from, {secret})) {
            from = std::max(start, secret.first);
            to = std::min(end, std::max(to, secret.second));
        }
    }
    const Range near = neighbourhood(document.text(), {start, end}, {from, to}, width);
    const std::vector<Range> secrets = secretsWithin(near);
    std::string before = shown(document.text(), near.first, from, secrets);
    std::string meant = shown(document.text(), from, to, secrets);
    const std::string after = shown(document.text(), to, near.second, secrets);
    if (displayWidth(before + meant + after) > width) {
        before = lastColumns(before, width / 2);
    }
    meant = wrapped(meant, std::max<std::size_t>(width - displayWidth(before), 1)).front();
    const std::size_t room = width - std::min(width, displayWidth(before) + displayWidth(meant));
    const std::string rest = room > 0 ? wrapped(after, room).front() : "";
    const std::size_t carets = std::max<std::size_t>(displayWidth(meant), 1);
    return {before + meant + rest,
            std::string(displayWidth(before), ' ') + std::string(carets, '^')};
}

} // namespace sysconfctl
