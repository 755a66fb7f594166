// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Reply.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

struct AnswerVariable {
    /// SYSCONF_LOCAL_SERVICE_IP for the query "local-service-ip".
    std::string name;
    /// No value: the variable is unset, and an inherited one of that name is removed.
    std::optional<std::string> value = std::nullopt;
    /// Why there is no value although there may be an answer; may be empty.
    std::string trouble = {};
    bool threw = false;
};

/// The names of the variables whose values differ. Both lists are of the same queries.
std::vector<std::string> changedNames(const std::vector<AnswerVariable>& before,
                                      const std::vector<AnswerVariable>& after);

std::string variableName(const Query& query);

/// The queries that have a variable: those that need no arguments.
/// @param words Names of queries; empty: all.
/// @param command The command that the user ran, which messages name.
/// @throws UsageError for the name of an unknown query, of one that needs arguments, or of a secret
///   that is not revealed.
std::vector<const Query*> variableQueries(const std::vector<std::string>& words, bool revealSecrets,
                                          std::string_view command);

/// The reply as a variable. A secret has no value unless it is revealed, whatever the answer is.
AnswerVariable variableOf(const Reply& reply, bool revealSecrets);

std::vector<AnswerVariable> askVariables(const std::vector<const Query*>& asked,
                                         bool revealSecrets);

/// NAME='value', with each ' as '\'', or "unset NAME". With a line end.
std::string shellLine(const AnswerVariable& variable);

/// The variable without a value that systemd does not accept; it would ignore the whole file.
AnswerVariable forSystemd(AnswerVariable variable);

/// NAME="value", with a backslash before ", \, $ and `. Empty if it has no value. With a line end.
std::string systemdLine(const AnswerVariable& variable);

/// As "NAME=VALUE", in place of inherited ones of their names.
std::vector<std::string> environmentWith(const std::vector<AnswerVariable>& variables,
                                         const char* const* inherited);

} // namespace sysconfctl
