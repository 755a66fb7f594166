// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "explain/Explanation.h"
#include "query/Questions.h"
#include "query/Reply.h"

#include <string>
#include <utility>
#include <vector>

namespace sysconfctl {

/// Predicts the answers in a process that starts now on a host with given addresses, by the
/// library's rules: the library itself uses only the addresses of this host.
class Prediction {
public:
    explicit Prediction(const std::vector<std::string>& localAddresses)
        : Prediction(readSources(localAddresses)) {}
    explicit Prediction(Sources sources) : m_sources(std::move(sources)) {
        m_loaded.load(m_sources);
    }
    // Not copyable: `m_loaded` refers to `m_sources`.
    Prediction(const Prediction&) = delete;
    Prediction& operator=(const Prediction&) = delete;

    const Sources& sources() const { return m_sources; }
    Sources takeSources() && { return std::move(m_sources); }
    const Values& values() const { return m_loaded.values(); }

    /// @throws UsageError if the query does not accept the arguments.
    Explanation explain(const Question& question) const {
        return sysconfctl::explain(*question.query, question.arguments, m_sources, m_loaded);
    }

    Reply ask(const Question& question, bool revealSecrets) const {
        return evaluated(explain(question), revealSecrets);
    }

    std::vector<Question> allQuestions() const {
        return sysconfctl::allQuestions(m_loaded.values());
    }

private:
    Sources m_sources;
    Loaded m_loaded;
};

} // namespace sysconfctl
