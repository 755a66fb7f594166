// SPDX-License-Identifier: Apache-2.0
#include "query/Variables.h"

#include "cli/UsageError.h"
#include "render/Json.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

/// With pages of 4 KiB, Linux starts no program with a longer string in its environment (32 pages),
/// the NUL included.
constexpr std::size_t kLongestAssignment = 131072;

std::optional<std::string> valueOf(const Answer& answer) {
    if (!answer.isAnswered()) {
        return std::nullopt;
    }
    if (const auto* const text = std::get_if<std::string>(&answer.value)) {
        return *text;
    }
    return compactJson(jsonOf(answer));
}

template <typename Replace>
std::string replaced(const std::string& text, std::string_view characters, Replace replace) {
    std::string result;
    for (const char c : text) {
        if (characters.find(c) == std::string_view::npos) {
            result += c;
        } else {
            result += replace(c);
        }
    }
    return result;
}

/// Why the value cannot be in an environment, or null.
const char* unusable(const AnswerVariable& variable) {
    if (variable.value->find('\0') != std::string::npos) {
        return "contains a NUL byte";
    }
    const std::size_t size = variable.name.size() + variable.value->size() + sizeof "=";
    return size > kLongestAssignment ? "is longer than a variable may be (128 KiB)" : nullptr;
}

std::string_view nameIn(std::string_view assignment) {
    return assignment.substr(0, assignment.find('='));
}

} // namespace

std::vector<std::string> changedNames(const std::vector<AnswerVariable>& before,
                                      const std::vector<AnswerVariable>& after) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (before[i].value != after[i].value) {
            names.push_back(after[i].name);
        }
    }
    return names;
}

std::string variableName(const Query& query) {
    std::string name = "SYSCONF_";
    for (const char c : query.name) {
        name += c == '-' ? '_' : static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    }
    return name;
}

std::vector<const Query*> variableQueries(const std::vector<std::string>& words, bool revealSecrets,
                                          std::string_view command) {
    std::vector<const Query*> asked;
    for (const std::string& word : words) {
        const Query& query = findQuery(word);
        if (!takesArguments(query, 0)) {
            throw UsageError(fmt::format("{}: {} needs arguments, so it has no variable "
                                         "(sysconfctl get {} prints it)",
                                         command, query.name, usageOf(query)));
        }
        if (query.secret != Secret::None && !revealSecrets) {
            throw UsageError(fmt::format("{}: {} is a secret, so it needs --reveal-secrets",
                                         command, query.name));
        }
        asked.push_back(&query);
    }
    if (words.empty()) {
        for (const Query& query : queries()) {
            if (takesArguments(query, 0)) {
                asked.push_back(&query);
            }
        }
    }
    return asked;
}

AnswerVariable variableOf(const Reply& reply, bool revealSecrets) {
    AnswerVariable variable{variableName(*reply.query)};
    if (reply.query->secret != Secret::None && !revealSecrets) {
        return variable;
    }
    if (reply.error) {
        variable.trouble =
            fmt::format("{}: the library threw: {}", reply.label(), escaped(*reply.error));
        variable.threw = true;
        return variable;
    }
    variable.value = valueOf(reply.answer);
    if (const char* const why = variable.value ? unusable(variable) : nullptr) {
        variable.value.reset();
        variable.trouble =
            fmt::format("the answer to {} {}, so {} is unset", reply.label(), why, variable.name);
    }
    return variable;
}

std::vector<AnswerVariable> askVariables(const std::vector<const Query*>& asked,
                                         bool revealSecrets) {
    std::vector<AnswerVariable> variables;
    variables.reserve(asked.size());
    for (const Query* query : asked) {
        variables.push_back(variableOf(ask(*query, {}, revealSecrets), revealSecrets));
    }
    return variables;
}

std::string shellLine(const AnswerVariable& variable) {
    if (!variable.value) {
        return "unset " + variable.name + '\n';
    }
    const std::string quoted = replaced(*variable.value, "'", [](char) { return "'\\''"; });
    return fmt::format("{}='{}'\n", variable.name, quoted);
}

AnswerVariable forSystemd(AnswerVariable variable) {
    if (variable.value && !isUtf8(*variable.value)) {
        variable.value.reset();
        variable.trouble = fmt::format(
            "{} is not UTF-8, so it has no line: systemd would ignore the file", variable.name);
    }
    return variable;
}

std::string systemdLine(const AnswerVariable& variable) {
    if (!variable.value) {
        return {};
    }
    const std::string quoted = replaced(*variable.value, "\"\\$`", [](char c) {
        return std::string{'\\', c};
    });
    return fmt::format("{}=\"{}\"\n", variable.name, quoted);
}

std::vector<std::string> environmentWith(const std::vector<AnswerVariable>& variables,
                                         const char* const* inherited) {
    std::vector<std::string> environment;
    for (const char* const* entry = inherited; *entry != nullptr; ++entry) {
        const bool asked =
            std::any_of(variables.begin(), variables.end(), [&](const AnswerVariable& variable) {
                return nameIn(*entry) == variable.name;
            });
        if (!asked) {
            environment.emplace_back(*entry);
        }
    }
    for (const AnswerVariable& variable : variables) {
        if (variable.value) {
            environment.push_back(variable.name + '=' + *variable.value);
        }
    }
    return environment;
}

} // namespace sysconfctl
