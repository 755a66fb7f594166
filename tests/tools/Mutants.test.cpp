// SPDX-License-Identifier: Apache-2.0
// Makes each kind of mistake at each place in the samples and compares the findings of check with
// the effect on the answers. A mistake removes, misspells, retypes or repeats a member or an
// element, or all of them.

#include "check/Finding.h"
#include "cli/Environment.h"
#include "query/Questions.h"
#include "query/Reply.h"

#include "support/Deployment.h"

#include <SysConfReader.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <tuple>

namespace {

using namespace sysconfctl;
namespace fs = std::filesystem;

// The figures that the test prints, rounded down.
constexpr double kReported = 0.98;
constexpr double kPlaced = 0.98;
constexpr double kErrors = 0.80;
constexpr double kSpread = SYSCONF_MUTANT_STEP == 1 ? 0 : 0.03;

struct Mutant {
    std::string what;
    std::string text;
    std::vector<std::size_t> places;
};

struct Child {
    const located::Member* member;
    const located::Value* value;

    std::size_t begin() const { return member != nullptr ? member->nameBegin : value->begin; }
    std::vector<std::size_t> places() const { return {begin(), value->begin}; }
};

class Mutations {
public:
    explicit Mutations(const std::string& text) : m_text(text), m_document(text) {
        EXPECT_FALSE(m_document.error());
        const Child root{nullptr, &m_document.root()};
        retype("", root);
        walk("", root);
    }

    const std::vector<Mutant>& all() const { return m_all; }

private:
    void add(const std::string& what, std::size_t begin, std::size_t end, const std::string& with,
             std::vector<std::size_t> places) {
        std::string text = m_text;
        text.replace(begin, end - begin, with);
        m_all.push_back({what, std::move(text), std::move(places)});
    }

    std::string textOf(const located::Value& value) const {
        return m_text.substr(value.begin, value.end - value.begin);
    }

    void retype(const std::string& path, const Child& child) {
        using located::Kind;
        constexpr std::array<std::pair<Kind, const char*>, 6> others = {{{Kind::Null, "null"},
                                                                         {Kind::Boolean, "true"},
                                                                         {Kind::Number, "7"},
                                                                         {Kind::String, "\"text\""},
                                                                         {Kind::Array, "[]"},
                                                                         {Kind::Object, "{}"}}};
        for (const auto& [kind, text] : others) {
            if (kind != child.value->kind) {
                add(path + " becomes " + text, child.value->begin, child.value->end, text,
                    child.places());
            }
        }
    }

    void remove(const std::string& path, const std::vector<Child>& siblings, std::size_t index,
                const Child& owner) {
        const Child& child = siblings[index];
        std::size_t begin = child.begin();
        std::size_t end = child.value->end;
        if (index + 1 < siblings.size()) {
            end = siblings[index + 1].begin();
        } else if (index > 0) {
            begin = siblings[index - 1].value->end;
        }
        add(path + " is missing", begin, end, "", owner.places());
    }

    void rename(const std::string& path, const Child& child, const Child& owner) {
        const std::size_t last = child.member->nameEnd - 2;
        std::vector<std::size_t> places = owner.places();
        places.push_back(child.begin());
        add(path + " is misspelled", last, last + 1, m_text[last] == 'x' ? "y" : "x", places);
    }

    void repeat(const std::string& path, const Child& child) {
        const std::string name =
            m_text.substr(child.member->nameBegin, child.member->nameEnd - child.member->nameBegin);
        const std::size_t end = child.value->end;
        std::vector<std::size_t> places = child.places();
        places.insert(places.end(), {end + 2, end + 2 + name.size() + 2});
        add(path + " is there twice", end, end, ", " + name + ": " + textOf(*child.value), places);
        add(path + " is there twice, the last one another", end, end, ", " + name + ": \"other\"",
            places);
    }

    void shorten(const std::string& path, const Child& child) {
        const std::vector<located::Value>& elements = child.value->elements;
        if (!elements.empty()) {
            add(path + " is emptied", child.value->begin, child.value->end, "[]", child.places());
            const std::string first = textOf(elements.front());
            add(path + " becomes its first element", child.value->begin, child.value->end, first,
                child.places());
        }
        if (elements.size() > 1) {
            add(path + " keeps its first element only", elements.front().end, elements.back().end,
                "", child.places());
        }
    }

    void walk(const std::string& path, const Child& owner) {
        std::vector<Child> children;
        for (const located::Member& member : owner.value->members) {
            children.push_back({&member, &member.value});
        }
        for (const located::Value& element : owner.value->elements) {
            children.push_back({nullptr, &element});
        }
        for (std::size_t i = 0; i < children.size(); ++i) {
            const Child& child = children[i];
            std::string place = path + "/";
            place += child.member != nullptr ? child.member->name : std::to_string(i);
            remove(place, children, i, owner);
            retype(place, child);
            shorten(place, child);
            if (child.member != nullptr) {
                rename(place, child, owner);
                repeat(place, child);
            }
            walk(place, child);
        }
    }

    std::string m_text;
    located::Document m_document;
    std::vector<Mutant> m_all;
};

std::string readFile(const fs::path& path) {
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

struct View {
    std::string name;
    std::string instance;
    std::string appConfig;
    std::string nodeList;
    std::string managerNodeList;
};

View readView(const fs::path& envFile) {
    View view;
    view.name = envFile.parent_path().filename() / envFile.stem();
    const fs::path folder = envFile.parent_path();
    for (const Assignment& one : parseEnvFile(readFile(envFile), envFile)) {
        if (one.variable == "PROCESS_INSTANCE_ID") {
            view.instance = one.value;
        } else if (one.variable == "APP_CONF_FILE") {
            view.appConfig = readFile(folder / one.value);
        } else if (one.variable == "APP_ROOT") {
            view.nodeList = readFile(folder / one.value / "etc/sysconf/nodelist.json");
        } else {
            view.managerNodeList = readFile(folder / one.value / "etc/sysconf/nodelists.json");
        }
    }
    return view;
}

std::vector<View> views() {
    std::vector<fs::path> files;
    for (const auto& entry :
         fs::recursive_directory_iterator(fs::path(SYSCONF_SOURCE_DIRECTORY) / "samples")) {
        if (entry.path().extension() == ".env") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<View> all;
    std::transform(files.begin(), files.end(), std::back_inserter(all), readView);
    return all;
}

std::vector<std::string> answersOf(const std::string& instance) {
    support::setEnvironment("PROCESS_INSTANCE_ID", instance.c_str());
    Quarncommon::SysConfReader::Destory();
    Quarncommon::SysConfReader::Instance();
    std::vector<std::string> all;
    for (const Question& question : allQuestions()) {
        const Reply reply = ask(*question.query, question.arguments, true);
        all.push_back(
            reply.label() + ": " +
            (reply.error
                 ? "threw"
                 : std::visit(
                       Overloaded{[](const NoAnswer&) { return std::string("nothing"); },
                                  [](const Json::Value& value) { return value.toStyledString(); },
                                  [](const auto& value) { return testing::PrintToString(value); }},
                       reply.answer.value)));
    }
    return all;
}

std::vector<std::string> instancesOf(const std::string& appConfig) {
    const located::Document document(appConfig);
    std::vector<std::string> names;
    for (const located::Member& process : document.find({"processes"})->members) {
        names.push_back(process.name);
    }
    return names;
}

using Identity = std::tuple<std::string, std::string, std::string>;

Identity identity(const Finding& finding) {
    return {std::string(finding.name), finding.pointer, finding.sentence};
}

struct Figures {
    int mutants = 0;
    int changing = 0;
    int reported = 0;
    int placed = 0;
    /// Reported at the other place of a disagreement between two files.
    int related = 0;
    int errors = 0;
    int several = 0;
    int unfounded = 0;
};

class MutantsOfAView {
public:
    MutantsOfAView(const View& view, Figures& figures) : m_view(view), m_figures(figures) {
        m_files.appConfig(view.appConfig);
        m_files.nodeList(view.nodeList);
        m_files.managerNodeList(view.managerNodeList);
        m_instances = instancesOf(view.appConfig);
        m_before = answers();
        support::setEnvironment("PROCESS_INSTANCE_ID", view.instance.c_str());
        const Sources sources = readSources();
        for (const Finding& finding : check(inventoryOf(sources)).findings) {
            m_known.insert(identity(finding));
        }
    }

    void tryAll(std::size_t& number, std::size_t step) {
        using Write = support::Deployment& (support::Deployment::*)(const std::string&);
        struct File {
            const char* name;
            const std::string& text;
            Write write;
            SourceFile Sources::*source;
        };
        for (const File& file :
             {File{"app config", m_view.appConfig, &support::Deployment::appConfig,
                   &Sources::appConfig},
              File{"node list", m_view.nodeList, &support::Deployment::nodeList,
                   &Sources::nodeList},
              File{"manager node list", m_view.managerNodeList,
                   &support::Deployment::managerNodeList, &Sources::managerNodeList}}) {
            const Mutations mutations(file.text);
            for (const Mutant& mutant : mutations.all()) {
                if (number++ % step == 0) {
                    (m_files.*file.write)(mutant.text);
                    judge(m_view.name + ", " + file.name + ": " + mutant.what, mutant, file.source);
                }
            }
            (m_files.*file.write)(file.text);
        }
    }

private:
    std::vector<std::string> answers() const {
        std::vector<std::string> all;
        for (const std::string& instance : m_instances) {
            const std::vector<std::string> some = answersOf(instance);
            all.insert(all.end(), some.begin(), some.end());
        }
        return all;
    }

    void judge(const std::string& label, const Mutant& mutant, SourceFile Sources::*mutated) {
        ++m_figures.mutants;
        const bool changes = answers() != m_before;
        support::setEnvironment("PROCESS_INSTANCE_ID", m_view.instance.c_str());
        const Sources sources = readSources();
        std::vector<Finding> found = check(inventoryOf(sources)).findings;
        std::erase_if(found, [&](const Finding& one) { return m_known.contains(identity(one)); });
        const bool error = std::any_of(found.begin(), found.end(), [](const Finding& one) {
            return one.severity == Severity::Error;
        });
        if (!changes) {
            m_figures.unfounded += error ? 1 : 0;
            return;
        }
        ++m_figures.changing;
        if (found.empty()) {
            std::cout << "not reported: " << label << '\n';
            return;
        }
        ++m_figures.reported;
        const auto notes = std::count_if(found.begin(), found.end(), [](const Finding& one) {
            return one.severity == Severity::Note;
        });
        if (found.size() - static_cast<std::size_t>(notes) > 1) {
            ++m_figures.several;
            std::cout << "several: " << label;
            for (const Finding& one : found) {
                std::cout << "\n    " << one.pointer << ": " << one.sentence;
            }
            std::cout << '\n';
        }
        const SourceFile* const file = &(sources.*mutated);
        std::set<std::size_t> lines;
        for (const std::size_t place : mutant.places) {
            lines.insert(file->document.place(place).line);
        }
        const auto isThere = [&](const SourceFile* where, std::optional<std::size_t> offset) {
            return where == file && offset && lines.contains(file->document.place(*offset).line);
        };
        const auto placed = std::find_if(found.begin(), found.end(), [&](const Finding& one) {
            return isThere(one.file, one.offset);
        });
        const auto related = std::find_if(found.begin(), found.end(), [&](const Finding& one) {
            return std::any_of(
                one.related.begin(), one.related.end(),
                [&](const RelatedPlace& place) { return isThere(place.file, place.offset); });
        });
        if (placed != found.end() || related != found.end()) {
            ++m_figures.placed;
            m_figures.related += placed == found.end() ? 1 : 0;
            m_figures.errors += error ? 1 : 0;
            if (!error) {
                std::cout << "no error: " << label << '\n';
            }
            return;
        }
        std::cout << "elsewhere: " << label;
        for (const Finding& one : found) {
            std::cout << "\n    " << one.pointer << ": " << one.sentence;
        }
        std::cout << '\n';
    }

    const View& m_view;
    Figures& m_figures;
    support::Deployment m_files;
    std::vector<std::string> m_instances;
    std::vector<std::string> m_before;
    std::set<Identity> m_known;
};

TEST(Mutants, OfEverySample_AreReportedWhereTheyAreIfTheyChangeAnAnswer) {
    Figures figures;
    std::size_t number = 0;
    const std::vector<View> samples = views();
    ASSERT_EQ(samples.size(), 5U);
    for (const View& view : samples) {
        MutantsOfAView(view, figures).tryAll(number, SYSCONF_MUTANT_STEP);
    }
    Quarncommon::SysConfReader::Destory();
    const double reported = static_cast<double>(figures.reported) / figures.changing;
    const double placed = static_cast<double>(figures.placed) / figures.reported;
    const double errors = static_cast<double>(figures.errors) / figures.placed;
    std::cout << figures.mutants << " mutants, " << figures.changing << " change an answer; "
              << figures.reported << " of these are reported (" << reported * 100 << " %), "
              << figures.placed << " of them at the right line (" << placed * 100 << " %; "
              << figures.related << " as the other place of a disagreement), " << figures.errors
              << " of them as errors (" << errors * 100 << " %); " << figures.several
              << " have more than one finding; " << figures.unfounded
              << " mutants that change no answer of the view are errors, too\n";
    EXPECT_GE(figures.mutants, 4000 / SYSCONF_MUTANT_STEP);
    EXPECT_GE(figures.changing, figures.mutants / 4);
    EXPECT_GE(reported, kReported - kSpread);
    EXPECT_GE(placed, kPlaced - kSpread);
    EXPECT_GE(errors, kErrors - kSpread);
}

} // namespace
