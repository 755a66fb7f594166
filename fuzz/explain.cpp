// SPDX-License-Identifier: Apache-2.0
// Any files, environment and arguments: the explanation of each query gives the library's answer,
// after a first load and a reload; the tool's reader accepts the library's texts; `check` returns.
//
// An input has parts, with a line "%%" between them: settings, the three files of the first load
// and, optionally, those of the reload.

#include "Parts.h"
#include "comparison/SoundDeployment.h"

#include "query/Reply.h"
#include <check/Finding.h>
#include <deployment/Loaded.h>
#include <explain/Explanation.h>

#include "support/HostAddresses.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace sysconfctl;

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

/// "unset VARIABLE", "instance ID", "ask ARGUMENT". Other lines of the first part are ignored.
class Setting {
public:
    explicit Setting(const std::string& lines) {
        files::setEnvironment();
        std::istringstream text(lines);
        for (std::string line; std::getline(text, line);) {
            const std::size_t space = line.find(' ');
            if (space != std::string::npos) {
                apply(line.substr(0, space), line.substr(space + 1));
            }
        }
    }

    Arguments argumentsFor(const Query& query) {
        Arguments arguments;
        for (const Parameter& parameter : query.parameters) {
            const std::size_t number = parameter.occurs == Occurs::Once ? 1 : 2;
            for (std::size_t i = 0; i < number; ++i) {
                arguments.push_back(argument(parameter.name));
            }
        }
        return arguments;
    }

private:
    void apply(const std::string& word, const std::string& value) {
        if (word == "unset") {
            for (const char* variable :
                 {"APP_CONF_FILE", "APP_ROOT", "TOLM_ROOT", "PROCESS_INSTANCE_ID"}) {
                if (value == variable) {
                    ::unsetenv(variable);
                }
            }
        } else if (word == "instance") {
            ::setenv("PROCESS_INSTANCE_ID", value.c_str(), 1);
        } else if (word == "ask") {
            m_arguments.push_back(value);
        }
    }

    std::string argument(std::string_view name) {
        if (name == "INDEX") {
            return std::to_string(m_next++ % 3);
        }
        if (!m_arguments.empty()) {
            return m_arguments[m_next++ % m_arguments.size()];
        }
        return name == "NAME"     ? "db"
               : name == "FIELD"  ? "assignedToTenancy"
               : name == "PREFIX" ? "t"
                                  : "service";
    }

    std::vector<std::string> m_arguments;
    std::size_t m_next = 0;
};

std::string shown(const Answer& answer) {
    return std::visit(
        Overloaded{
            [](const NoAnswer&) { return std::string("(none)"); },
            [](const std::string& text) { return text; },
            [](int number) { return std::to_string(number); },
            [](const Json::Value& value) { return value.toStyledString(); },
            [](const auto& many) { return "(" + std::to_string(many.size()) + " of them)"; },
        },
        answer.value);
}

void compareQuery(const Query& query, const Arguments& arguments, const Sources& sources,
                  const Loaded& loaded) {
    const Explanation explanation = explain(query, arguments, sources, loaded);
    const Reply reply = ask(query, arguments, true);
    if (!agrees(explanation, reply)) {
        fail(reply.label() + "\nexplained: " + shown(explanation.answer) +
             explanation.error.value_or("") + "\nanswered: " + shown(reply.answer) + " " +
             reply.error.value_or(""));
    }
    if (explanation.steps.empty()) {
        fail(reply.label() + " is explained by nothing");
    }
    if (explanation.verdict.sentence.empty()) {
        fail(reply.label() + " has no verdict");
    }
    for (const Step& step : explanation.steps) {
        if (step.at && step.at->file != nullptr) {
            step.at->file->document.find(step.at->path);
        }
    }
}

void compareAll(Setting& setting, const Sources& sources, const Loaded& loaded) {
    for (const SourceFile* file :
         {&sources.appConfig, &sources.nodeList, &sources.managerNodeList}) {
        if (file->unreadable.empty() && file->loads == file->document.error().has_value()) {
            fail(std::string(file->title) + (file->loads ? ": refused" : ": accepted") +
                 " by the tool's reader only");
        }
    }
    for (const Query& query : queries()) {
        compareQuery(query, setting.argumentsFor(query), sources, loaded);
    }
    for (const Finding& finding : check(inventoryOf(sources)).findings) {
        constexpr std::size_t kWidth = 80;
        if (finding.sentence.empty()) {
            fail("a finding that says nothing");
        }
        excerpt(finding, kWidth, false);
    }
}

void take(const std::vector<std::string>& parts, std::size_t first, files::Texts& texts) {
    std::string* const files[] = {&texts.appConfig, &texts.nodeList, &texts.managerNodeList};
    for (std::size_t i = 0; i < std::size(files) && first + i < parts.size(); ++i) {
        *files[i] = parts[first + i];
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kFirstLoad = 1;
    constexpr std::size_t kReload = 4;
    support::setHostAddresses({"10.0.0.1", "10.0.0.7", "fe80::7"});
    const auto parts = splitIntoParts({reinterpret_cast<const char*>(data), size});
    Setting setting(parts.front());
    files::Texts texts = soundDeployment();
    take(parts, kFirstLoad, texts);
    files::write(texts);

    Loaded loaded;
    Quarncommon::SysConfReader::Instance();
    Sources sources = readSources();
    loaded.load(sources);
    compareAll(setting, sources, loaded);

    if (parts.size() > kReload) {
        take(parts, kReload, texts);
        files::write(texts);
        Quarncommon::SysConfReaderImpl::Instance()->Reload();
        sources = readSources();
        loaded.load(sources);
        compareAll(setting, sources, loaded);
    }
    // The next input starts without an instance.
    Quarncommon::SysConfReader::Destory();
    files::write(soundDeployment());
    return 0;
}
