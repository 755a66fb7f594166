// SPDX-License-Identifier: Apache-2.0
#include "comparison/Comparison.h"

#include "comparison/NaiveReader.h"
#include "support/HostAddresses.h"
#include "support/LockFaults.h"

#include <JsonReader.h>
#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace comparison {

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using queries::Arguments;
using queries::Outputs;
using queries::Reads;
using queries::Takes;

const std::list<std::string> kHostAddresses{"127.0.0.1", "10.0.0.1", "10.0.0.7", "fe80::7"};

naive::File parsed(const std::string& text) {
    Json::Value value;
    return JsonReader(false).parse(text, value) ? naive::File(value) : std::nullopt;
}

struct Parsed {
    explicit Parsed(const files::Texts& texts)
        : appConfig(parsed(texts.appConfig)), nodeList(parsed(texts.nodeList)),
          managerNodeList(parsed(texts.managerNodeList)) {}

    naive::File appConfig;
    naive::File nodeList;
    naive::File managerNodeList;
};

NaiveReader naiveReader(const Parsed& files) {
    return {files::kInstanceId,
            {[&] { return files.appConfig; }, [&] { return files.nodeList; },
             [&] { return files.managerNodeList; }, [] { return kHostAddresses; }}};
}

std::vector<std::pair<Arguments, Outputs>> calls(Takes takes, const Questions& questions,
                                                 const std::vector<std::string>& databases) {
    std::vector<std::pair<Arguments, Outputs>> all;
    const auto add = [&](const Arguments& with) { all.emplace_back(with, questions.before); };
    switch (takes) {
    case Takes::Database:
        for (const std::string& name : databases) {
            for (const unsigned int index : {0U, 1U, 4294967295U}) {
                add({.database = name, .index = index});
            }
        }
        break;
    case Takes::Tag:
        for (const std::string& tag : questions.tags) {
            all.emplace_back(Arguments{.tag = tag}, Outputs());
        }
        break;
    case Takes::Prefix:
        for (const std::string& prefix : questions.prefixes) {
            add({.prefix = prefix});
        }
        break;
    case Takes::Field:
        for (const auto& [field, valuePrefix] : questions.fields) {
            add({.field = field, .valuePrefix = valuePrefix});
        }
        break;
    case Takes::Tags:
        for (const std::set<std::string>& tags :
             {std::set<std::string>(), std::set<std::string>{"service"}, questions.tags}) {
            add({});
            all.back().second.tags = tags;
        }
        break;
    case Takes::Keys:
        add({});
        break;
    case Takes::Nothing:
        all.emplace_back();
        all.back().second.text = "before";
        all.back().second.trees = {{"before", Json::Value()}};
    }
    return all;
}

template <typename Reader>
std::vector<std::string> someDatabases(Reader& reader) {
    std::map<std::string, Json::Value> all;
    reader.getAllDBInfo(all);
    constexpr std::size_t kMost = 3;
    std::vector<std::string> names{"unknown"};
    for (const auto& [name, info] : all) {
        if (names.size() < kMost) {
            names.push_back(name);
        }
    }
    return names;
}

std::string label(const char* name, const Arguments& with) {
    std::string all = name;
    for (const std::string& argument : {with.database, std::to_string(with.index), with.tag,
                                        with.prefix, with.field, with.valuePrefix}) {
        all += " " + argument;
    }
    return all;
}

template <typename Reader, typename Roles>
Answers ask(Reader& reader, const Roles& roles, const std::set<Reads>& reads,
            const Questions& questions) {
    Answers answers;
    const std::vector<std::string> databases = someDatabases(reader);
    for (const queries::Query<Reader>& query : queries::all<Reader>()) {
        const std::string name = query.name;
        // These two show which nodes a load has found.
        const bool always = query.reads == Reads::Nothing || name == "getLocalMaintenanceIP" ||
                            name == "getLocalNorthIP";
        if (!always && !reads.contains(query.reads)) {
            continue;
        }
        for (auto& [with, outputs] : calls(query.takes, questions, databases)) {
            // A second call gets the outputs of the first.
            for (int call = 0; call < (query.takes == Takes::Keys ? 2 : 1); ++call) {
                std::string end = " returns ";
                try {
                    query.call(reader, with, outputs);
                } catch (const Json::Exception&) {
                    end = " throws ";
                }
                answers.emplace_back(label(query.name, with), end + outputs.toText());
            }
        }
    }
    answers.emplace_back("GetLocalInternalServiceIP", roles.GetLocalInternalServiceIP());
    answers.emplace_back("GetProductName", roles.GetProductName());
    return answers;
}

Answers askLibrary(const std::set<Reads>& reads, const Questions& questions) {
    return ask(*SysConfReader::Instance(), *SysConfReaderImpl::Instance(), reads, questions);
}

std::string firstDifference(const char* when, const Answers& answers, const Answers& expected) {
    const auto [answer, wanted] =
        std::mismatch(answers.begin(), answers.end(), expected.begin(), expected.end());
    if (answer == answers.end() && wanted == expected.end()) {
        return {};
    }
    const auto show = [](const auto& at, const auto& end) {
        return at == end ? std::string("nothing more") : at->first + at->second;
    };
    return std::string(when) + "\nlibrary: " + show(answer, answers.end()) +
           "\nexpected: " + show(wanted, expected.end()) + "\n";
}

std::string heldLocks() {
    const support::LockCounts held = support::locksHeldHere();
    return held.read + held.write + held.unlock == 0 ? "" : "locks are held or released twice\n";
}

void collect(const Json::Value& value, std::set<std::string>& texts) {
    constexpr std::size_t kMost = 6;
    if (texts.size() >= kMost) {
        return;
    }
    if (value.isString()) {
        texts.insert(value.asString());
    }
    for (const Json::Value& child : value) {
        collect(child, texts);
    }
}

} // namespace

Questions questionsFor(const files::Texts& texts) {
    Questions questions;
    questions.tags = {"service", "Northbound", "southbound2", "internal_service"};
    for (const std::string& text : {texts.nodeList, texts.managerNodeList}) {
        if (const naive::File tree = parsed(text)) {
            std::set<std::string> found;
            collect(*tree, found);
            questions.tags.merge(found);
        }
    }
    questions.before.text = "before";
    questions.before.text2 = "before";
    questions.before.list = {"before"};
    questions.before.byNumber = {{2, "before"}};
    if (questions.tags.contains("x")) {
        questions.before.byTag = {{"service", "before"}, {"x", "before"}};
    }
    questions.before.byNode = {{"n1", {"before"}}};
    questions.before.tree = "before";
    return questions;
}

std::string difference(const files::Texts& before, const files::Texts& texts,
                       const std::set<Reads>& reads, const Questions& questions, Answers* answers) {
    support::setHostAddresses({kHostAddresses.begin(), kHostAddresses.end()});
    files::setEnvironment();
    const Parsed files(texts);
    Parsed current(before);
    NaiveReader reloaded = naiveReader(current);
    reloaded.Reload();
    current = files;
    reloaded.Reload();
    NaiveReader loaded = naiveReader(files);
    loaded.Reload();

    SysConfReader::Destory();
    files::write(before);
    SysConfReader::Instance();
    files::write(texts);
    SysConfReaderImpl::Instance()->Reload();
    std::string all = firstDifference("after a reload", askLibrary({}, questions),
                                      ask(reloaded, reloaded, {}, questions));
    SysConfReader::Destory();
    SysConfReader::Instance();
    const Answers expected = ask(loaded, loaded, reads, questions);
    all += firstDifference("after a first load", askLibrary(reads, questions), expected);
    all += firstDifference("asked again", askLibrary(reads, questions), expected);
    if (answers != nullptr) {
        *answers = expected;
    }
    // The next comparison starts without an instance.
    SysConfReader::Destory();
    files::write(before);
    return all + heldLocks();
}

std::string differenceInTurn(const files::Texts& texts, const std::vector<std::string>& lists) {
    support::setHostAddresses({kHostAddresses.begin(), kHostAddresses.end()});
    files::setEnvironment();
    Parsed current(texts);
    NaiveReader naive = naiveReader(current);
    naive.Reload();
    SysConfReader::Destory();
    files::write(texts);
    SysConfReader::Instance();
    std::string all;
    for (std::size_t turn = 0; turn <= lists.size() && all.empty(); ++turn) {
        files::Texts changed = texts;
        changed.nodeList = changed.managerNodeList = lists[turn % lists.size()];
        current = Parsed(changed);
        files::write(changed);
        const Questions questions = questionsFor(changed);
        const std::set<Reads> reads{Reads::NodeList, Reads::ManagerNodeList};
        const Answers expected = ask(naive, naive, reads, questions);
        for (std::size_t time = 0; time <= turn % 8 && all.empty(); ++time) {
            all = firstDifference(("list " + std::to_string(turn)).c_str(),
                                  askLibrary(reads, questions), expected);
        }
    }
    SysConfReader::Destory();
    return all + heldLocks();
}

void requireSame(const files::Texts& before, const files::Texts& texts, Reads reads) {
    const std::string found = difference(before, texts, {reads}, questionsFor(texts));
    if (!found.empty()) {
        std::fputs(found.c_str(), stderr);
        std::abort();
    }
}

} // namespace comparison
