// SPDX-License-Identifier: Apache-2.0
#include "diff/Comparison.h"

#include "cli/UsageError.h"
#include "render/Json.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace sysconfctl {
namespace {

/// A process on both sides; null on a side that does not have it.
struct Pair {
    const ProcessFiles* a;
    const ProcessFiles* b;
};

/// Both lists are in ascending order.
std::vector<Pair> pairsOf(const std::vector<ProcessFiles>& a, const std::vector<ProcessFiles>& b) {
    std::vector<Pair> pairs;
    auto left = a.begin();
    auto right = b.begin();
    while (left != a.end() || right != b.end()) {
        const bool takesLeft = right == b.end() || (left != a.end() && left->key <= right->key);
        const bool takesRight = left == a.end() || (right != b.end() && right->key <= left->key);
        pairs.push_back({takesLeft ? &*left++ : nullptr, takesRight ? &*right++ : nullptr});
    }
    return pairs;
}

const ProcessFiles* counterpart(const Side& one, const Side& other) {
    const ProcessFiles* found = nullptr;
    std::size_t sameName = 0;
    for (const ProcessFiles& process : other.processes()) {
        if (process.instance == one.instance()) {
            found = &process;
            ++sameName;
        }
    }
    if (sameName != 1) {
        throw UsageError(fmt::format(
            "{} is one process, {}, and {} has {} of that name: compare two env files or two "
            "directories",
            shellWord(one.name()), shellWord(one.instance()), shellWord(other.name()), sameName));
    }
    return found;
}

std::vector<Question> questionsOf(const Prediction& a, const Prediction& b,
                                  const std::vector<AskedQuery>& asked) {
    std::vector<Question> shown = a.allQuestions();
    std::set<std::string> labels;
    for (const Question& question : shown) {
        labels.insert(labelOf(*question.query, question.arguments));
    }
    for (Question& question : b.allQuestions()) {
        if (labels.insert(labelOf(*question.query, question.arguments)).second) {
            shown.push_back(std::move(question));
        }
    }
    if (asked.empty()) {
        return shown;
    }
    std::vector<Question> questions;
    for (const AskedQuery& one : asked) {
        const bool bare = one.arguments.empty() && !one.query->parameters.empty();
        if (!bare) {
            questions.push_back({one.query, one.arguments});
            continue;
        }
        std::copy_if(shown.begin(), shown.end(), std::back_inserter(questions),
                     [&](const Question& question) { return question.query == one.query; });
    }
    return questions;
}

/// Compares files. Processes share node lists, so each pair of paths is compared only once.
class FileComparison {
public:
    bool same(const Sources& a, const Sources& b) {
        return a.instance.value == b.instance.value &&
               a.nodeList.variable.value == b.nodeList.variable.value &&
               a.hostAddresses == b.hostAddresses && same(a.appConfig, b.appConfig) &&
               same(a.nodeList, b.nodeList) && same(a.managerNodeList, b.managerNodeList);
    }

private:
    bool same(const SourceFile& a, const SourceFile& b) {
        const auto [known, isNew] = m_same.try_emplace({a.path, b.path}, false);
        if (isNew) {
            known->second = a.variable.value.has_value() == b.variable.value.has_value() &&
                            a.unreadable == b.unreadable && a.document.text() == b.document.text();
        }
        return known->second;
    }

    std::map<std::pair<std::string, std::string>, bool> m_same;
};

ComparedProcess compareProcess(const Prediction& a, const Prediction& b,
                               const std::vector<AskedQuery>& asked, bool revealSecrets) {
    ComparedProcess result;
    for (const Question& question : questionsOf(a, b, asked)) {
        ++result.answers;
        const Explanation left = a.explain(question);
        const Explanation right = b.explain(question);
        if (agrees(left, evaluated(right, true))) {
            continue;
        }
        Reply replyA = evaluated(left, revealSecrets);
        Reply replyB = evaluated(right, revealSecrets);
        const bool masked = replyA.answer.masked && replyB.answer.masked;
        const bool secret = masked && toJson(replyA) == toJson(replyB);
        result.differences.push_back(
            {{std::move(replyA), reasonOf(left)}, {std::move(replyB), reasonOf(right)}, secret});
    }
    return result;
}

} // namespace

bool Comparison::same() const {
    return std::all_of(processes.begin(), processes.end(), [](const ComparedProcess& process) {
        return process.onlyIn == 0 && process.differences.empty();
    });
}

Comparison compare(Side& a, Side& b, const std::vector<AskedQuery>& asked, bool revealSecrets) {
    Comparison result{a.name(), b.name(), {}};
    FileComparison files;
    std::vector<Pair> pairs;
    const bool onePair = a.isOneProcess() || b.isOneProcess();
    if (!onePair) {
        pairs = pairsOf(a.processes(), b.processes());
    } else {
        pairs.push_back({a.isOneProcess() ? nullptr : counterpart(b, a),
                         b.isOneProcess() ? nullptr : counterpart(a, b)});
    }
    for (const Pair& pair : pairs) {
        if (!onePair && (pair.a == nullptr || pair.b == nullptr)) {
            const bool onlyA = pair.b == nullptr;
            result.processes.push_back(
                {(onlyA ? pair.a : pair.b)->key, onlyA ? 'a' : 'b', false, 0, {}});
            continue;
        }
        a.open(pair.a);
        b.open(pair.b);
        ComparedProcess compared;
        compared.sameFiles = !onePair && files.same(a.sources(), b.sources());
        if (!compared.sameFiles) {
            compared = compareProcess(a.prediction(), b.prediction(), asked, revealSecrets);
        }
        compared.key = onePair ? "" : pair.a->key;
        result.processes.push_back(std::move(compared));
    }
    return result;
}

} // namespace sysconfctl
