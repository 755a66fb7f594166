// SPDX-License-Identifier: Apache-2.0
#include "query/AskedQuery.h"

#include "cli/ShellLine.h"

#include <algorithm>
#include <iterator>

namespace sysconfctl {

AskedQuery askedQuery(const std::string& word, std::string_view command) {
    std::vector<std::string> words = readShellLine(word + ' ', "").words;
    words.pop_back(); // the empty word after the blank
    if (words.empty()) {
        words.emplace_back();
    }
    const Query& query = findQuery(words.front());
    words.erase(words.begin());
    if (!words.empty()) {
        checkArgumentCount(query, words, command);
    }
    return {&query, std::move(words)};
}

std::vector<Question> questionsOf(const std::vector<AskedQuery>& asked) {
    std::vector<Question> all = allQuestions();
    if (asked.empty()) {
        return all;
    }
    std::vector<Question> questions;
    for (const AskedQuery& one : asked) {
        if (!one.arguments.empty()) {
            questions.push_back({one.query, one.arguments});
            continue;
        }
        std::copy_if(all.begin(), all.end(), std::back_inserter(questions),
                     [&](const Question& question) { return question.query == one.query; });
    }
    return questions;
}

} // namespace sysconfctl
