// SPDX-License-Identifier: Apache-2.0
// Explanations and answers of the library agree for every query on random deployments: valid,
// damaged, with wrong types, and changed between reloads.

#include "deployment/Loaded.h"
#include "explain/Explanation.h"
#include "query/Reply.h"

#include "comparison/RandomLists.h"
#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

namespace {

using namespace sysconfctl;

constexpr std::uint64_t kSeed = 20261121;
constexpr int kDeployments = SYSCONF_PARITY_DEPLOYMENTS;

class RandomDeployments {
public:
    explicit RandomDeployments(std::uint64_t seed) : m_lists(seed) {}

    void change(support::Deployment& deployment) {
        if (!m_lists.oneIn(8)) {
            deployment.appConfig(damaged(textOf(appConfig())));
        }
        if (!m_lists.oneIn(8)) {
            deployment.nodeList(damaged(textOf(m_lists.list())));
        }
        if (!m_lists.oneIn(8)) {
            deployment.managerNodeList(damaged(textOf(m_lists.list())));
        }
        const auto lead = [&](const char* variable, const std::string& value) {
            support::setEnvironment(variable, m_lists.oneIn(40) ? nullptr : value.c_str());
        };
        lead("APP_CONF_FILE", deployment.appConfigPath().string());
        lead("APP_ROOT", deployment.appRoot().string());
        lead("TOLM_ROOT", deployment.managerRoot().string());
        lead("PROCESS_INSTANCE_ID", "p1");
    }

    bool reloads() { return m_lists.oneIn(2); }

    Arguments argumentsFor(const Query& query) {
        Arguments arguments;
        for (const Parameter& parameter : query.parameters) {
            const std::size_t number =
                parameter.occurs == Occurs::Once
                    ? 1
                    : m_lists.below(3) + (parameter.occurs == Occurs::OnceOrMore ? 1 : 0);
            for (std::size_t i = 0; i < number; ++i) {
                arguments.push_back(argument(query, parameter.name));
            }
        }
        return arguments;
    }

private:
    std::string argument(const Query& query, std::string_view name) {
        if (name == "INDEX") {
            return std::to_string(m_lists.below(3));
        }
        if (name == "NAME") {
            return m_lists.oneIn(5) ? "DB" : "db";
        }
        if (name == "FIELD") {
            return m_lists.fieldName();
        }
        if (name == "PREFIX") {
            return query.name == "ip-addresses" ? m_lists.valuePrefix() : m_lists.prefix();
        }
        return m_lists.oneIn(2) ? m_lists.askedTag() : m_lists.callersKey();
    }

    Json::Value odd(Json::Value value) {
        if (!m_lists.oneIn(m_odd)) {
            return value;
        }
        Json::Value object;
        object["a"] = 1;
        Json::Value list(Json::arrayValue);
        list.append("x");
        const Json::Value values[] = {Json::Value(),
                                      "",
                                      "5",
                                      7,
                                      -1,
                                      1.5,
                                      5e9,
                                      true,
                                      object,
                                      list,
                                      Json::Value(Json::objectValue),
                                      Json::Value(Json::arrayValue)};
        return values[m_lists.below(std::size(values))];
    }

    Json::Value appConfig() {
        m_odd = m_lists.oneIn(2) ? 1000000 : 25;
        Json::Value root;
        Json::Value entries(Json::arrayValue);
        for (std::size_t n = m_lists.below(3); n > 0; --n) {
            Json::Value entry;
            for (const char* field : {"type", "user", "passwd", "serviceName", "serverName"}) {
                entry[field] = odd(field);
            }
            entry["accessPort"] = odd(static_cast<int>(m_lists.below(3)) - 1);
            entry["instanceExt"]["lib"] = odd("lib");
            entry["instanceExt"] = odd(entry["instanceExt"]);
            entries.append(odd(entry));
        }
        root["databases"]["db"] = odd(entries);
        root["databases"] = odd(root["databases"]);
        Json::Value process;
        for (const char* group : {"IR", "local", "wss", "CORBA", "CORBA_SSL"}) {
            if (!m_lists.oneIn(6)) {
                process[group]["ip"] = odd(m_lists.address());
                process[group]["port"] = odd(static_cast<int>(m_lists.below(70000)));
                process[group] = odd(process[group]);
            }
        }
        if (!m_lists.oneIn(10)) {
            process["nodeId"] = odd(m_lists.askedNodeId());
        }
        if (!m_lists.oneIn(15)) {
            root["processes"]["p1"] = odd(process);
        }
        root["processes"] = odd(root["processes"]);
        return odd(root);
    }

    std::string damaged(std::string text) {
        if (m_lists.oneIn(12) && !text.empty()) {
            const std::size_t at = m_lists.below(text.size());
            m_lists.oneIn(2) ? text.resize(at) : text.replace(at, 1, "!").shrink_to_fit();
        }
        return text;
    }

    RandomLists m_lists;
    unsigned int m_odd = 1000000;
};

std::string shown(const Answer& answer) {
    return std::visit(Overloaded{
                          [](const NoAnswer&) { return std::string("(none)"); },
                          [](const auto& value) { return testing::PrintToString(value); },
                          [](const Json::Value& value) { return value.toStyledString(); },
                      },
                      answer.value);
}

void expectVerdict(const Explanation& explanation) {
    const std::vector<Step>& steps = explanation.steps;
    EXPECT_NE(explanation.verdict.name, "") << explanation.label();
    EXPECT_NE(explanation.verdict.sentence, "") << explanation.label();
    EXPECT_NE(explanation.verdict.name, "empty") << explanation.label();
    EXPECT_EQ(std::count_if(steps.begin(), steps.end(),
                            [](const Step& step) { return step.weight == Weight::Decisive; }),
              1)
        << explanation.label();
    for (const Step& step : steps) {
        EXPECT_NE(step.outcome, "") << explanation.label() << step.sentence;
        const bool placed =
            !step.at || step.at->offset || step.at->file->document.find(step.at->path) != nullptr;
        EXPECT_TRUE(placed) << explanation.label() << ": " << step.sentence;
    }
}

TEST(Parity, EveryQueryOverRandomDeployments_IsExplainedAsTheLibraryAnswers) {
    std::cout << "seed " << kSeed << ", " << kDeployments << " deployments\n";
    RandomDeployments random(kSeed);
    support::Deployment deployment;
    Loaded loaded;
    bool loadedOnce = false;
    int answered = 0;
    int asked = 0;
    int threw = 0;
    for (int round = 0; round < kDeployments; ++round) {
        random.change(deployment);
        if (loadedOnce && random.reloads()) {
            Quarncommon::SysConfReaderImpl::Instance()->Reload();
        } else {
            Quarncommon::SysConfReader::Destory();
            loaded = Loaded();
            Quarncommon::SysConfReader::Instance();
            loadedOnce = true;
        }
        const Sources sources = readSources();
        loaded.load(sources);
        for (const Query& query : queries()) {
            const Arguments arguments = random.argumentsFor(query);
            const Explanation explanation = explain(query, arguments, sources, loaded);
            const Reply reply = ask(query, arguments, true);
            ASSERT_TRUE(agrees(explanation, reply))
                << "seed " << kSeed << ", round " << round << ": " << reply.label()
                << "\nexplained: " << shown(explanation.answer) << explanation.error.value_or("")
                << "\nanswered: " << shown(reply.answer) << reply.error.value_or("");
            ASSERT_FALSE(explanation.steps.empty()) << reply.label();
            expectVerdict(explanation);
            ++asked;
            answered += reply.answer.isAnswered() ? 1 : 0;
            threw += reply.error ? 1 : 0;
        }
    }
    Quarncommon::SysConfReader::Destory();
    std::cout << asked << " asked, " << answered << " answered, " << threw << " thrown\n";
    EXPECT_GT(answered, asked / 4);
    EXPECT_GT(asked - answered, asked / 10);
    EXPECT_GT(threw, asked / 1000);
}

} // namespace
