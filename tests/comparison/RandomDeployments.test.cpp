// SPDX-License-Identifier: Apache-2.0

#include "comparison/Comparison.h"
#include "comparison/RandomLists.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using queries::Reads;

constexpr int kDeployments = support::rounds(800);

/// Any tree can be a database: only the types of its values matter.
Json::Value database(RandomLists& random) {
    Json::Value database = random.oneIn(2) ? random.list() : random.addresses();
    for (Json::Value& entry : database) {
        if (entry.isObject()) {
            entry["accessPort"] = entry["IP"];
            entry["type"] = entry["usage"];
            entry["instanceExt"]["lib"] = entry["IP"];
        }
    }
    return database;
}

Json::Value appConfig(RandomLists& random) {
    Json::Value config(Json::objectValue);
    config["databases"]["db"] = database(random);
    config["databases"]["another"] = database(random);
    Json::Value& process = config["processes"]["p1"];
    process["nodeId"] = random.askedNodeId();
    process["IR"]["ip"] = random.address();
    process["local"]["ip"] = random.address();
    process["local"]["port"] = static_cast<Json::UInt64>(random.below(100000));
    process["wss"]["ip"] = random.address();
    for (const char* service : {"wss", "CORBA", "CORBA_SSL"}) {
        process[service]["port"] = static_cast<Json::UInt64>(random.below(100000));
    }
    if (random.oneIn(10)) {
        process[random.oneIn(2) ? "wss" : "CORBA"] = random.addresses();
    }
    return config;
}

/// One in twenty does not parse.
std::string text(RandomLists& random, const Json::Value& value) {
    std::string text = textOf(value);
    if (random.oneIn(20)) {
        text.resize(random.below(text.size()));
    }
    return text;
}

Json::Value nodeList(RandomLists& random) {
    Json::Value list = random.list();
    if (list.isObject() && list["nodeList"].isObject()) {
        for (Json::Value& node : list["nodeList"]) {
            if (node.isObject() && node["extAttr"].isObject()) {
                node["extAttr"]["HOSTID"] = random.address();
            }
        }
    }
    return list;
}

files::Texts texts(RandomLists& random) {
    return {text(random, appConfig(random)), text(random, nodeList(random)),
            text(random, random.list())};
}

comparison::Questions questions(RandomLists& random, const files::Texts& texts) {
    comparison::Questions questions = comparison::questionsFor(texts);
    questions.tags = {random.askedTag(), random.askedTag(), random.askedTag()};
    questions.prefixes = {"northbound", random.prefix()};
    questions.fields = {{random.fieldName(), random.valuePrefix()},
                        {random.fieldName(), random.valuePrefix()}};
    if (random.oneIn(2)) {
        questions.before.byTag[random.callersKey()] = "before";
        questions.before.byNumber[random.callersNumber()] = "before";
    }
    questions.before.byNode[random.nodeId()] = {"before"};
    return questions;
}

TEST(RandomDeployments, EachDeployment_GivesTheAnswersOfNaiveReader) {
    // The different answers of each query. There would be few if most deployments were broken.
    std::map<std::string, std::set<std::string>> given;
    for (int seed = 1; seed <= kDeployments && !HasFailure(); ++seed) {
        RandomLists random(static_cast<std::uint64_t>(seed));
        const files::Texts before = texts(random);
        const files::Texts now = texts(random);
        comparison::Answers answers;
        const std::string found =
            comparison::difference(before, now, {Reads::NodeList, Reads::ManagerNodeList},
                                   questions(random, now), &answers);
        EXPECT_EQ(found, "") << "seed " << seed << ":\n"
                             << before.appConfig << '\n'
                             << before.nodeList << '\n'
                             << before.managerNodeList << '\n'
                             << now.appConfig << '\n'
                             << now.nodeList << '\n'
                             << now.managerNodeList;
        for (const auto& [query, answer] : answers) {
            given[query.substr(0, query.find(' '))].insert(answer);
        }
    }
    given.erase("GetAppRoot");
    // A sanitized run makes few deployments.
    const std::size_t least = kDeployments < 200 ? 2 : 3;
    for (const auto& [query, answers] : given) {
        EXPECT_GE(answers.size(), least) << query;
        RecordProperty(query, static_cast<int>(answers.size()));
    }
}

} // namespace
